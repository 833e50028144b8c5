// Pictures of frmImage and frmLogo for a person to look at (not part of the suite): a drawn
// picture with black lines, text, grey areas and a transparent corner, opened through the file
// dialog and previewed as printed: /tmp/picture_<language>_<image|image_large|logo>.png (the large
// one at the greatest size, 448 x 1760); and frmOtherFile
// with a few texts: /tmp/picture_<language>_otherfiles.png; frmScrollMSG: ..._scroll.png; frmFlexiBarcode:
// ..._flexi.png.
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPainter>

#include "gui_support.h"
#include "codec/code_page.h"
#include "scalefiles/text_files.h"
#include "scalefiles/text_lines.h"
#include "scalefiles/ui/other_files_window.h"
#include "scalefiles/scroll_messages.h"
#include "scalefiles/ui/picture_window.h"
#include "scalefiles/ui/scroll_window.h"
#include "plu/ui/flexi_barcode_window.h"
#include "shell/program_state.h"

using namespace brindale;
using namespace brindale::testing;

namespace {

QString drawn(const std::string& dir, const char* name, int w, int h) {
    QImage img(w, h, QImage::Format_ARGB32);
    img.fill(Qt::white);
    QPainter p(&img);
    p.fillRect(QRect(w / 2, 0, w / 2, h / 3), QColor(0x80, 0x80, 0x80));  // grey: does not print
    p.setPen(QPen(Qt::black, 3));
    p.drawRect(QRect(4, 4, w - 9, h - 9));
    p.drawEllipse(QRect(w / 6, h / 4, w * 2 / 3, h / 2));
    QFont f("Liberation Sans");
    f.setPixelSize(std::max(10, std::min(h / 12, w / 7)));  // the text within the picture's width
    p.setFont(f);
    p.drawText(QRect(0, h / 2 - h / 10, w, h / 5), Qt::AlignCenter, "FRESH 1998");
    p.setCompositionMode(QPainter::CompositionMode_Source);
    p.fillRect(QRect(0, h - h / 6, w / 6, h / 6), QColor(0, 0, 0, 0));  // transparent: shows the background
    p.end();
    const QString path = QString::fromStdString(dir) + "/" + name;
    img.save(path, "PNG");
    return path;
}

void shots(int language, const char* tag) {
    datagen::ChainShape shape;
    shape.stores = 1;
    shape.plus = 5;
    GuiApp g(generatedApp(shape, 3, language));
    if (g.start() != 0) return;
    auto& st = g.state();
    for (auto [table, name, w, h] : {std::tuple{scalefiles::PictureTable::Image, "image", 300, 420},
                                     std::tuple{scalefiles::PictureTable::Image, "image_large", 448, 1760},
                                     std::tuple{scalefiles::PictureTable::Logo, "logo", 120, 60}}) {
        const QString path = drawn(g.dir->dir(), name, w, h);
        scalefiles::FrmPicture::setFileChooser([path](QWidget*, const QString&) { return path; });
        scalefiles::FrmPicture f(st, table, {});
        f.show();
        f.cmdOpen();
        QApplication::processEvents();
        f.grab().save(QString("/tmp/picture_%1_%2.png").arg(tag, name));
    }
    const char* texts[] = {"Fresh every morning", "面包 Bakery", "Organic"};
    for (int i = 0; i < 3; ++i) {
        std::vector<scalefiles::TextLine> lines = {scalefiles::TextLine::typed(0, texts[i])};
        scalefiles::storeTextFile(*st.Conn, 11 + i, 10 + i, scalefiles::blockFromLines(lines, *st.codePage).block,
                                  *st.codePage);
    }
    {
        scalefiles::FrmOtherFile f(st, {});
        f.show();
        f.findChild<QComboBox*>("comboText")->setEditText("10");  // a number chosen: its first line shows
        f.findChild<QLineEdit*>("txtIngNo")->setText("12");
        QApplication::processEvents();
        f.grab().save(QString("/tmp/picture_%1_otherfiles.png").arg(tag));
    }
    scalefiles::saveScrollMessages(*st.Conn, {{"1", "Welcome"}, {"2", language && st.codePage->holds("欢迎光临") ? "欢迎光临" : "Fresh bread at 7"}, {"5", "Two for one"}},
                                   *st.codePage);
    scalefiles::saveScrollSequence(*st.Conn, {1, {scalefiles::ScrollStep{1, 0, 1}, scalefiles::ScrollStep{2, 3, 2}, {}}});
    {
        scalefiles::FrmScrollMSG f(st, {});
        f.show();
        QApplication::processEvents();
        f.grab().save(QString("/tmp/picture_%1_scroll.png").arg(tag));
    }
    {
        plu::ui::FrmFlexiBarcode f(st, {});
        f.show();
        f.findChild<QComboBox*>("ComboType")->setCurrentIndex(1);
        f.findChild<QComboBox*>("ComboCD")->setCurrentIndex(3);
        QApplication::processEvents();
        f.grab().save(QString("/tmp/picture_%1_flexi.png").arg(tag));
    }
    g.end();
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    answerYes();
    shots(0, "en");
    shots(1, "zh");
    return 0;
}
