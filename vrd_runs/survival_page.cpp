#include "survival_page.h"

#include <QBuffer>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "convert_picture.h"
#include "large_picture.h"
#include "localization.h"
#include "picture_orientation.h"
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

std::string Heading(const std::string& text) {
    return "<h2>" + text + "</h2>\n";
}

std::string NumberText(double value, int decimals) {
    char text[40];
    std::snprintf(text, sizeof(text), "%s%.*f", value < 0.0 ? "&minus;" : "", decimals, std::abs(value));
    return text;
}

std::string Cell(const SBxTrialOutcome& trial) {
    const SLook& look = LookOf(trial.survival);
    const std::string wrong =
        trial.survival == EBxSurvival::OtherText ? ": " + Escaped(BX_PrintableName(trial.text)) : std::string();
    return std::string("<td align=\"center\" bgcolor=\"") + look.colour + "\" title=\"" +
           Escaped(BX_DescribeTrial(trial.trial)) + ": " + Translated(look.meaning) + wrong + "\">" + look.symbol +
           "</td>";
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
    return Heading(Translated(BX_MarkText("JPEG quality and scale"))) + kTable + "<tr>" + HeaderCell("") + header +
           "</tr>\n" + rows + "</tr>\n</table>\n";
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
    return Heading(Translated(title) + ", JPEG " + std::to_string(kQualityOfOthers)) + kTable + "<tr>" + header +
           "</tr>\n<tr>" + cells + "</tr>\n</table>\n";
}

// The texts that were read and are not the sign; nothing for another outcome.
std::string WrongTexts(const SBxSurvivalOutcome& outcome, EBxSurvival survival) {
    std::string texts;
    for (const SBxTrialOutcome& trial : outcome.trials) {
        if (trial.survival == survival && survival == EBxSurvival::OtherText) {
            texts += (texts.empty() ? ": " : ", ") + Escaped(BX_PrintableName(trial.text));
        }
    }
    return texts;
}

std::string Legend(const SBxSurvivalOutcome& outcome) {
    std::string legend = kTable;
    for (const SLook& look : kLooks) {
        const std::size_t count = outcome.Count(look.survival);
        if (count > 0) {
            legend += std::string("<tr><td align=\"center\" bgcolor=\"") + look.colour + "\">" + look.symbol +
                      "</td><td>" + Translated(look.meaning) + WrongTexts(outcome, look.survival) +
                      "</td><td align=\"right\">" + std::to_string(count) + "</td></tr>\n";
        }
    }
    return legend + "</table>\n";
}

CBxSize<int> UprightSize(CBxSize<int> stored, int orientation) {
    return BX_SwapsSides(orientation) ? CBxSize<int>{stored.height, stored.width} : stored;
}

// The picture made smaller and put upright; nullptr without memory.
std::unique_ptr<QImage> MakeSmallPicture(const SBxPicBuf& picture, int orientation) {
    const double factor =
        std::min(1.0, static_cast<double>(kPictureSide) / std::max(picture.m_iWidth, picture.m_iHeight));
    const CBxSize<int> size = {std::max(1, static_cast<int>(picture.m_iWidth * factor)),
                               std::max(1, static_cast<int>(picture.m_iHeight * factor))};
    CBxOwnedPic small;
    CBxOwnedPic upright;
    if (BX_ShrinkPicture(small, picture, size) != kBxSuccess ||
        BX_PutUpright(upright, small.Pic(), orientation) != kBxSuccess) {
        return nullptr;
    }
    return std::unique_ptr<QImage>(CBxConvertPicture::GetQImageFromPicBuf(&upright.Pic()));
}

// Where a carrier of the stored picture is in an image that shows it upright.
QRectF FrameOf(const CBxRect<int>& carrier, CBxSize<int> stored, int orientation, const QImage& image) {
    const auto place = [&](int x, int y) {
        const CBxPoint<double> point =
            BX_PutUpright(CBxPoint<double>{static_cast<double>(x), static_cast<double>(y)}, stored, orientation);
        const CBxSize<int> full = UprightSize(stored, orientation);
        return QPointF(point.x * image.width() / full.width, point.y * image.height() / full.height);
    };
    return QRectF(place(carrier.left, carrier.top), place(carrier.right, carrier.bottom)).normalized();
}

// The smaller picture with its frames as JPEG; empty without memory.
QByteArray DrawPicture(const SBxPicBuf& picture, int orientation, const std::vector<CBxRect<int>>& carriers) {
    const std::unique_ptr<QImage> image = MakeSmallPicture(picture, orientation);
    if (image == nullptr) {
        return QByteArray();
    }
    QPainter painter(image.get());
    for (const CBxRect<int>& carrier : carriers) {
        // Its whole width stays inside the picture.
        const QRectF drawn = FrameOf(carrier, {picture.m_iWidth, picture.m_iHeight}, orientation, *image)
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
    "body { font-family: sans-serif; line-height: 1.4; margin: 2em auto; max-width: 56em; padding: 0 1em;\n"
    "  color: #202020; background: #ffffff; }\n"
    "h1 { margin-bottom: 0; }\n"
    "h2 { font-size: 1.1em; margin: 1.5em 0 0.5em; }\n"
    "table { border-collapse: collapse; border-color: #ffffff; -webkit-print-color-adjust: exact;\n"
    "  print-color-adjust: exact; }\n"
    "td, th { border: 2px solid #ffffff; padding: 0.3em 0.6em; }\n"
    "th { font-weight: normal; background: #f0f0f0; min-width: 2.6em; }\n"
    "img { max-width: 100%; }\n";

}  // namespace

char BX_GetMark(EBxSurvival survival) {
    return LookOf(survival).mark;
}

std::string BX_MakeSurvivalPage(const SBxSurvivalOutcome& outcome, const SBxPicBuf& picture, int orientation,
                                const std::string& name) {
    const QByteArray jpeg = DrawPicture(picture, orientation, outcome.carriers);
    if (jpeg.isEmpty()) {
        return std::string();
    }
    const std::string title = Translated(BX_MarkText("What the sign survives"));
    const CBxSize<int> size = UprightSize({picture.m_iWidth, picture.m_iHeight}, orientation);
    const std::string shown = Escaped(BX_PrintableName(name));
    return "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width\">\n<title>" +
           title + ": " + shown + "</title>\n<style>\n" + kStyle +
           "</style>\n</head>\n<body bgcolor=\"#ffffff\" text=\"#202020\">\n<h1>" + title + "</h1>\n<p><b>" + shown +
           "</b>, " + std::to_string(size.width) + " &times; " + std::to_string(size.height) + ", " +
           Translated(BX_MarkText("sign:")) + " <b>" + Escaped(BX_PrintableName(outcome.sign)) +
           "</b></p>\n<p><img src=\"data:image/jpeg;base64," + jpeg.toBase64().toStdString() + "\" alt=\"\"></p>\n<p>" +
           Translated(BX_MarkText(
               "The frames show where the sign is. Each cell of the tables is a copy that was changed, saved and "
               "searched.")) +
           "</p>\n" + Legend(outcome) + Grid(outcome) +
           Row(outcome, EBxTrialKind::Crop, BX_MarkText("Cut off, of width and height"), " %", 0) +
           Row(outcome, EBxTrialKind::Brightness, BX_MarkText("Brightness, times"), "", 1) +
           Row(outcome, EBxTrialKind::Turn, BX_MarkText("Turned, in degrees"), "&deg;", 1) + "</body>\n</html>\n";
}
