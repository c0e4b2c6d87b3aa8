#include "bch157.h"

#include <algorithm>

void CBxBCH157::read_p() {
    const int polynomial[5] = {1, 1, 0, 0, 1};  // 1 + x + x^4
    std::copy(polynomial, polynomial + m + 1, p);
}

void CBxBCH157::generate_gf() {
    int withoutTop = 0;
    for (int i = 0; i < m; ++i) {
        withoutTop |= p[i] << i;
    }
    const int top = 1 << (m - 1);
    int element = 1;
    std::fill(index_of, index_of + n + 1, -1);
    for (int power = 0; power < n; ++power) {
        alpha_to[power] = element;
        index_of[element] = power;
        element = (element & top) != 0 ? ((element << 1) & n) ^ withoutTop : element << 1;
    }
    alpha_to[n] = 0;
}

int CBxBCH157::Multiply(int a, int b) const {
    return a == 0 || b == 0 ? 0 : alpha_to[(index_of[a] + index_of[b]) % n];
}

// The roots are the cyclotomic cosets of the powers 1 .. d - 1; the generator is the product of (x + root).
void CBxBCH157::gen_poly() {
    bool isRoot[15] = {};
    for (int power = 1; power < d; ++power) {
        for (int member = power; !isRoot[member]; member = member * 2 % n) {
            isRoot[member] = true;
        }
    }
    std::fill(g, g + (length - k + 1), 0);
    g[0] = 1;
    int degree = 0;
    for (int power = 0; power < n; ++power) {
        if (!isRoot[power]) {
            continue;
        }
        ++degree;
        for (int i = degree; i > 0; --i) {
            g[i] = g[i - 1] ^ Multiply(g[i], alpha_to[power]);
        }
        g[0] = Multiply(g[0], alpha_to[power]);
    }
}

// bb = remainder of x^(length - k) * data(x) divided by g(x), by a shift register with feedback.
void CBxBCH157::encode_bch() {
    const int redundancy = length - k;
    std::fill(bb, bb + redundancy, 0);
    for (int i = k - 1; i >= 0; --i) {
        const int feedback = data[i] ^ bb[redundancy - 1];
        for (int j = redundancy - 1; j > 0; --j) {
            bb[j] = bb[j - 1] ^ (feedback & g[j]);
        }
        bb[0] = feedback & g[0];
    }
}

void CBxBCH157::GetBCHCodeFromData() {
    encode_bch();
    std::copy(bb, bb + (length - k), recd);
    std::copy(data, data + k, recd + length - k);
}

int CBxBCH157::decode_bch() {
    int syndrome[5] = {};
    bool clean = true;
    for (int i = 1; i <= 2 * t; ++i) {
        for (int j = 0; j < length; ++j) {
            if (recd[j] != 0) {
                syndrome[i] ^= alpha_to[i * j % n];
            }
        }
        clean = clean && syndrome[i] == 0;
    }
    if (clean || syndrome[1] == 0) {
        return 0;
    }
    const int cube = Multiply(syndrome[1], Multiply(syndrome[1], syndrome[1]));
    if (syndrome[3] == cube) {
        recd[index_of[syndrome[1]]] ^= 1;
        return 1;
    }
    // Two errors: the locator 1 + S1 x + (S3 / S1 + S1^2) x^2 has the inverses of the places as its roots.
    const int inverse = alpha_to[(n - index_of[syndrome[1]]) % n];
    const int quadratic = Multiply(syndrome[3], inverse) ^ Multiply(syndrome[1], syndrome[1]);
    int places[15];
    int found = 0;
    for (int power = 0; power < n; ++power) {
        const int x = alpha_to[power];
        if ((1 ^ Multiply(syndrome[1], x) ^ Multiply(quadratic, Multiply(x, x))) == 0) {
            places[found++] = (n - power) % n;
        }
    }
    if (found != 2) {
        return 0;
    }
    recd[places[0]] ^= 1;
    recd[places[1]] ^= 1;
    return 2;
}

int CBxBCH157::GetDataFromBCHCode() {
    const int corrected = decode_bch();
    std::copy(recd + length - k, recd + length, data);
    return corrected;
}

CBxBCH157 BX_MakeCoder() {
    CBxBCH157 coder;
    coder.read_p();
    coder.generate_gf();
    coder.gen_poly();
    return coder;
}
