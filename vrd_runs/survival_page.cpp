#include "survival_page.h"

#include <QBuffer>
#include <QPainter>
#include <algorithm>
#include <cstdio>
#include <memory>

#include "convert_picture.h"
#include "large_picture.h"
#include "localization.h"
#include "printable_text.h"
#include "result.h"

namespace {

constexpr int kPictureSide = 900;  // most pixels of the smaller picture along a side
constexpr int kPictureQuality = 85;

struct SLook {
    EBxSurvival survival;
    char mark;
    const char* symbol;
    const char* colour;
    const char* meaning;
};

constexpr SLook kLooks[] = {
    {EBxSurvival::Ordinary, '#', "&#9679;", "#4caf50", BX_MarkText("read")},
    {EBxSurvival::Deep, '+', "+", "#aed581", BX_MarkText("read only by searching harder")},
    {EBxSurvival::Uncertain, '?', "?", "#ffe082", BX_MarkText("read only by searching harder, and not for certain")},
    {EBxSurvival::Lost, '.', "&ndash;", "#ef9a9a", BX_MarkText("lost")},
    {EBxSurvival::OtherText, 'x', "&times;", "#ce93d8", BX_MarkText("another text is read")},
    {EBxSurvival::Failed, '!', "!", "#bdbdbd", BX_MarkText("could not be tried")},
};

const SLook& LookOf(EBxSurvival survival) {
    return *std::find_if(std::begin(kLooks), std::end(kLooks) - 1,
                         [survival](const SLook& look) { return look.survival == survival; });
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

std::string Translated(const char* text) {
    return Escaped(CBxLocalization::Translate(text));
}

std::string Heading(const char* text) {
    return "<h2>" + Translated(text) + "</h2>\n";
}

std::string NumberText(double value, int decimals) {
    char text[40];
    std::snprintf(text, sizeof(text), "%.*f", decimals, value);
    return text;
}

std::string Cell(const SBxTrialOutcome& trial) {
    const SLook& look = LookOf(trial.survival);
    return std::string("<td align=\"center\" bgcolor=\"") + look.colour + "\" title=\"" +
           Escaped(BX_DescribeTrial(trial.trial)) + ": " + Translated(look.meaning) + "\">" + look.symbol + "</td>";
}

std::string HeaderCell(const std::string& text) {
    return "<th>" + text + "</th>";
}

std::vector<const SBxTrialOutcome*> TrialsOf(const SBxSurvivalOutcome& outcome, EBxTrialKind kind) {
    std::vector<const SBxTrialOutcome*> trials;
    for (const SBxTrialOutcome& trial : outcome.trials) {
        if (trial.trial.kind == kind) {
            trials.push_back(&trial);
        }
    }
    return trials;
}

constexpr char kTable[] = "<table border=\"1\" cellspacing=\"0\" cellpadding=\"6\">\n";

std::string Grid(const SBxSurvivalOutcome& outcome) {
    const std::vector<const SBxTrialOutcome*> trials = TrialsOf(outcome, EBxTrialKind::Grid);
    if (trials.empty()) {
        return std::string();
    }
    std::string header;
    std::string rows;
    const int firstQuality = trials.front()->trial.quality;
    int quality = firstQuality + 1;
    for (const SBxTrialOutcome* trial : trials) {
        if (trial->trial.quality == firstQuality) {
            header += HeaderCell(NumberText(trial->trial.amount, 0) + " %");
        }
        if (trial->trial.quality != quality) {
            quality = trial->trial.quality;
            rows += (rows.empty() ? "<tr>" : "</tr>\n<tr>") + HeaderCell("JPEG " + std::to_string(quality));
        }
        rows += Cell(*trial);
    }
    return Heading(BX_MarkText("JPEG quality and scale")) + kTable + "<tr>" + HeaderCell("") + header + "</tr>\n" +
           rows + "</tr>\n</table>\n";
}

std::string Row(const SBxSurvivalOutcome& outcome, EBxTrialKind kind, const char* title, const char* unit,
                int decimals) {
    const std::vector<const SBxTrialOutcome*> trials = TrialsOf(outcome, kind);
    if (trials.empty()) {
        return std::string();
    }
    std::string header;
    std::string cells;
    for (const SBxTrialOutcome* trial : trials) {
        header += HeaderCell(NumberText(trial->trial.amount, decimals) + unit);
        cells += Cell(*trial);
    }
    return Heading(title) + kTable + "<tr>" + header + "</tr>\n<tr>" + cells + "</tr>\n</table>\n";
}

std::string Legend(const SBxSurvivalOutcome& outcome) {
    std::string legend = kTable;
    for (const SLook& look : kLooks) {
        const std::size_t count = outcome.Count(look.survival);
        if (count > 0) {
            legend += std::string("<tr><td align=\"center\" bgcolor=\"") + look.colour + "\">" + look.symbol +
                      "</td><td>" + Translated(look.meaning) + "</td><td align=\"right\">" + std::to_string(count) +
                      "</td></tr>\n";
        }
    }
    return legend + "</table>\n";
}

// The smaller picture with its frames as JPEG; empty without memory.
QByteArray DrawPicture(const SBxPicBuf& picture, const std::vector<CBxRect<int>>& carriers) {
    const CBxSize<int> full = {picture.m_iWidth, picture.m_iHeight};
    const double factor = std::min(1.0, static_cast<double>(kPictureSide) / std::max(full.width, full.height));
    const CBxSize<int> size = {std::max(1, static_cast<int>(full.width * factor)),
                               std::max(1, static_cast<int>(full.height * factor))};
    CBxOwnedPic small;
    if (BX_ShrinkPicture(small, picture, size) != kBxSuccess) {
        return QByteArray();
    }
    const std::unique_ptr<QImage> image(CBxConvertPicture::GetQImageFromPicBuf(&small.Pic()));
    if (image == nullptr) {
        return QByteArray();
    }
    QPainter painter(image.get());
    for (const CBxRect<int>& carrier : carriers) {
        const CBxRect<double> frame =
            BX_MapRectangle({static_cast<double>(carrier.left), static_cast<double>(carrier.top),
                             static_cast<double>(carrier.right), static_cast<double>(carrier.bottom)},
                            full, size);
        // Its whole width stays inside the picture.
        const QRectF drawn = QRectF(frame.left, frame.top, frame.Width(), frame.Height())
                                 .intersected(QRectF(image->rect()).adjusted(2, 2, -2, -2));
        painter.setPen(QPen(Qt::black, 4));
        painter.drawRect(drawn);
        painter.setPen(QPen(Qt::yellow, 2));
        painter.drawRect(drawn);
    }
    painter.end();
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    const bool isSaved = buffer.open(QIODevice::WriteOnly) && image->save(&buffer, "JPG", kPictureQuality);
    return isSaved ? jpeg : QByteArray();
}

constexpr char kStyle[] =
    "body { font-family: sans-serif; margin: 2em; max-width: 60em; color: #202020; background: #ffffff; }\n"
    "table { border-collapse: collapse; }\n"
    "th { font-weight: normal; text-align: right; background: #f0f0f0; }\n"
    "img { max-width: 100%; }\n";

}  // namespace

char BX_GetMark(EBxSurvival survival) {
    return LookOf(survival).mark;
}

std::string BX_MakeSurvivalPage(const SBxSurvivalOutcome& outcome, const SBxPicBuf& picture, const std::string& name) {
    const QByteArray jpeg = DrawPicture(picture, outcome.carriers);
    if (jpeg.isEmpty()) {
        return std::string();
    }
    const std::string title = Translated(BX_MarkText("What the sign survives"));
    const std::string shown = Escaped(BX_PrintableName(name));
    return "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>" + title + ": " + shown +
           "</title>\n<style>\n" + kStyle + "</style>\n</head>\n<body bgcolor=\"#ffffff\" text=\"#202020\">\n<h1>" +
           title + "</h1>\n<p><b>" + shown + "</b>, " + std::to_string(picture.m_iWidth) + " &times; " +
           std::to_string(picture.m_iHeight) + ", " + Translated(BX_MarkText("sign:")) + " <b>" +
           Escaped(BX_PrintableName(outcome.sign)) + "</b></p>\n<p><img src=\"data:image/jpeg;base64," +
           jpeg.toBase64().toStdString() + "\" alt=\"\"></p>\n<p>" +
           Translated(BX_MarkText(
               "The frames show where the sign is. Each cell of the tables is a copy that was changed, saved and "
               "searched.")) +
           "</p>\n" + Legend(outcome) + Grid(outcome) +
           Row(outcome, EBxTrialKind::Crop, BX_MarkText("Cut off, of width and height"), " %", 0) +
           Row(outcome, EBxTrialKind::Brightness, BX_MarkText("Brightness, times"), "", 1) +
           Row(outcome, EBxTrialKind::Turn, BX_MarkText("Turned, in degrees"), "&deg;", 1) + "</body>\n</html>\n";
}
