// The error-correcting code of the sign: binary BCH(15,7) over GF(16), which corrects two flipped bits of a word.
#pragma once

// The fields are set by the constructor (m 4, n 15, k 7, t 2, d 5, length 15); the arrays are large enough for these
// values only. Call read_p, generate_gf and gen_poly once, in this order, before the first word. One object serves one
// thread.
class CBxBCH157 {
public:
    int m = 4;              // degree of the field
    int n = 15;             // 2^m - 1
    int k = 7;              // data bits
    int t = 2;              // errors that are corrected
    int d = 5;              // designed distance
    int length = 15;        // bits of a code word
    int p[5] = {};          // primitive polynomial, lowest power first
    int alpha_to[16] = {};  // power to vector form
    int index_of[16] = {};  // vector to power form; -1 for 0
    int g[9] = {};          // generator polynomial
    int bb[8] = {};         // redundancy bits
    int recd[15] = {};      // code word: redundancy, then data
    int data[7] = {};       // data bits

    // NOLINTBEGIN(readability-identifier-naming): small letters, as in formulas
    void read_p();
    void generate_gf();
    void gen_poly();
    // NOLINTEND(readability-identifier-naming)

    // Encodes `data` into `recd`.
    void GetBCHCodeFromData();
    // Corrects `recd` in place and copies its data bits into `data`. Returns the number of bits that were flipped, 0 to
    // 2; a word with more errors than that passes through unchanged, or is taken for another word.
    int GetDataFromBCHCode();

private:
    void encode_bch();  // NOLINT(readability-identifier-naming)
    int decode_bch();   // NOLINT(readability-identifier-naming)
    int Multiply(int a, int b) const;
};

// One that is ready for its first word.
CBxBCH157 BX_MakeCoder();
