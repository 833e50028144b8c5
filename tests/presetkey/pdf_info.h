#pragma once
// What poppler's pdfinfo reads from a PDF: its page count and the size of each page in points.
#include <QProcess>
#include <QRegularExpression>
#include <QString>
#include <vector>

namespace brindale::testing {

struct PdfInfo {
    int pages = -1;
    std::vector<std::pair<double, double>> sizes;  // width and height of each page, in points
};

inline PdfInfo pdfInfo(const QString& file) {
    PdfInfo info;
    QProcess p;
    p.start("pdfinfo", {"-f", "1", "-l", "9999", file});
    if (!p.waitForFinished(20000) || p.exitCode() != 0) return info;
    const QString out = QString::fromUtf8(p.readAllStandardOutput());
    const auto pages = QRegularExpression(R"(^Pages:\s+(\d+))", QRegularExpression::MultilineOption).match(out);
    if (pages.hasMatch()) info.pages = pages.captured(1).toInt();
    auto it = QRegularExpression(R"(^Page\s+\d+ size:\s+([\d.]+) x ([\d.]+) pts)", QRegularExpression::MultilineOption)
                  .globalMatch(out);
    while (it.hasNext()) {
        const auto m = it.next();
        info.sizes.push_back({m.captured(1).toDouble(), m.captured(2).toDouble()});
    }
    return info;
}

}  // namespace brindale::testing
