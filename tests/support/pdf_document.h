// Small PDF documents made in code.
#pragma once

#include <QImage>
#include <string>
#include <vector>

// Puts a document together object by object; numbers start with 1.
class CPdfDocument {
public:
    int Add(const std::string& body) {
        m_Objects.push_back(body);
        return static_cast<int>(m_Objects.size());
    }

    int AddStream(const std::string& dictionary, const std::string& bytes) {
        return Add("<< " + dictionary + " /Length " + std::to_string(bytes.size()) + " >>\nstream\n" + bytes +
                   "\nendstream");
    }

    // A page with one picture, `image` being the number of its object.
    void AddPage(int image) {
        const int contents = AddStream("", "q 100 0 0 100 0 0 cm /P Do Q");
        m_Pages.push_back(Add("<< /Type /Page /Parent 0000000000 0 R /MediaBox [0 0 100 100] /Contents " +
                              std::to_string(contents) + " 0 R /Resources << /XObject << /P " + std::to_string(image) +
                              " 0 R >> >> >>"));
    }

    std::string Bytes() {
        std::string kids;
        for (const int page : m_Pages) {
            kids += std::to_string(page) + " 0 R ";
        }
        const int pages = Add("<< /Type /Pages /Count " + std::to_string(m_Pages.size()) + " /Kids [" + kids + "] >>");
        for (const int page : m_Pages) {
            std::string& body = m_Objects[static_cast<std::size_t>(page) - 1];
            body.replace(body.find("0000000000"), 10, std::to_string(pages));
        }
        const int catalog = Add("<< /Type /Catalog /Pages " + std::to_string(pages) + " 0 R >>");
        return Assemble(catalog);
    }

private:
    std::string Assemble(int catalog) const {
        std::string bytes = "%PDF-1.4\n";
        std::string table = "xref\n0 " + std::to_string(m_Objects.size() + 1) + "\n0000000000 65535 f \n";
        for (std::size_t index = 0; index < m_Objects.size(); ++index) {
            const std::string place = std::to_string(bytes.size());
            table += std::string(10 - place.size(), '0') + place + " 00000 n \n";
            bytes += std::to_string(index + 1) + " 0 obj\n" + m_Objects[index] + "\nendobj\n";
        }
        const std::string start = std::to_string(bytes.size());
        return bytes + table + "trailer\n<< /Size " + std::to_string(m_Objects.size() + 1) + " /Root " +
               std::to_string(catalog) + " 0 R >>\nstartxref\n" + start + "\n%%EOF\n";
    }

    std::vector<std::string> m_Objects;
    std::vector<int> m_Pages;
};

inline std::string PdfImageKeys(int width, int height, const std::string& colours, int bits) {
    return "/Type /XObject /Subtype /Image /Width " + std::to_string(width) + " /Height " + std::to_string(height) +
           " /ColorSpace /" + colours + " /BitsPerComponent " + std::to_string(bits);
}

// A picture as it is, without loss.
inline int AddPdfPicture(CPdfDocument& document, const QImage& picture, const std::string& moreKeys = "") {
    const QImage rgb = picture.convertToFormat(QImage::Format_RGB888);
    std::string bytes;
    for (int y = 0; y < rgb.height(); ++y) {
        bytes.append(reinterpret_cast<const char*>(rgb.constScanLine(y)), static_cast<std::size_t>(rgb.width()) * 3);
    }
    return document.AddStream(PdfImageKeys(rgb.width(), rgb.height(), "DeviceRGB", 8) + " " + moreKeys, bytes);
}

// A picture as the JPEG file that holds it.
inline int AddPdfJpeg(CPdfDocument& document, const std::string& jpeg, int width, int height) {
    return document.AddStream(PdfImageKeys(width, height, "DeviceRGB", 8) + " /Filter /DCTDecode", jpeg);
}
