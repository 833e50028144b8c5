// frmImage and frmLogo in the running program, offscreen, driven by control name: a picture
// chosen through the file dialog (answered by the test), packed into the scratch table, previewed
// as printed, sent to the two scales of store 1 (not to the third, of store 2) and fetched back
// with the protocol's READ; the pictures that are too large or no pictures at all; renumbering;
// delete; a smaller picture sent over a larger one.
#include <gtest/gtest.h>

#include <algorithm>

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

#include "scale_app_fixture.h"
#include "scalefiles/picture_rows.h"
#include "scalefiles/ui/picture_window.h"
#include "shell/program_state.h"
#include "store/hierarchy.h"
#include "transfer/ui/main_transfers.h"
#include "window_typing.h"

namespace brindale::testing {
namespace {

class PictureWindows : public ScaleFilesApp {
protected:
    QString chosen;  // what the file dialog answers
    int dialogsOpened = 0;

    void SetUp() override {
        ScaleFilesApp::SetUp();
        scalefiles::FrmPicture::setFileChooser([this](QWidget*, const QString& filter) {
            ++dialogsOpened;
            EXPECT_EQ(filter, "All Files (*.*);;Image Files (*.bmp)");
            return chosen;
        });
    }
    void TearDown() override {
        scalefiles::FrmPicture::setFileChooser({});
        ScaleFilesApp::TearDown();
    }

    // A BMP of random pure black and other pixels, saved under the app folder.
    QString bitmap(const QString& name, int w, int h, uint32_t seed) {
        const QString path = file(name);
        EXPECT_TRUE(writeBitmap(path, w, h, seed));
        return path;
    }
};

TEST_F(PictureWindows, ALargestImageIsPackedPreviewedSentToItsStoreAndFetchedBackEqual) {
    chosen = bitmap("large.bmp", 448, 1760, 1);
    Records table;
    QImage preview;
    inWindow("menuEditImage", "frmImage", [&](QDialog* w) {
        EXPECT_FALSE(button(w, "cmdSend")->isEnabled());
        button(w, "cmdOpen")->click();
        EXPECT_EQ(dialogsOpened, 1);
        EXPECT_EQ(w->findChild<QLabel*>("lblSize")->text(), "Pirture Pixel: 448 , 1760");
        EXPECT_TRUE(button(w, "cmdSend")->isEnabled());
        EXPECT_FALSE(w->findChild<QLabel*>("Picture1")->pixmap().isNull());
        table = scalefiles::pictureRows(db(), scalefiles::PictureTable::Image);
        preview = static_cast<scalefiles::FrmPicture*>(w)->preview();
        button(w, "cmdSend")->click();
    });
    ASSERT_EQ(table.size(), 50u);  // 49 blocks and the end record
    EXPECT_EQ(g->count("SELECT * FROM KVR_37 WHERE Is_Selected <> 0"), 0);  // cleared after
    for (int s : {0, 1}) EXPECT_EQ(fetched(s, "37"), table) << "scale " << s;
    EXPECT_TRUE(fetched(2, "37").empty());
    // What came back prints as the window previewed it.
    const auto d = scalefiles::decodeImage(fetched(0, "37"));
    ASSERT_TRUE(d) << d.reason;
    EXPECT_EQ(d->blockCount, 49);
    ASSERT_FALSE(preview.isNull());
    EXPECT_EQ(scalefiles::printedImage(d->printed, 448, 1760), preview);
}

TEST_F(PictureWindows, TooLargeShowsImagesizeKeepsThePictureAndLeavesTheTableEmpty) {
    chosen = bitmap("wide.bmp", 449, 10, 2);
    inWindow("menuEditImage", "frmImage", [&](QDialog* w) {
        button(w, "cmdOpen")->click();
        EXPECT_FALSE(button(w, "cmdSend")->isEnabled());
        EXPECT_FALSE(w->findChild<QLabel*>("Picture1")->pixmap().isNull());
    });
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(messagesShown()[0], g->text("msgbox", "imagesize"));
    EXPECT_EQ(g->count("SELECT * FROM KVR_37"), 0);
    clearMessages();
    chosen = bitmap("tall.bmp", 128, 65, 3);
    inWindow("menuEditLogo", "frmLogo", [&](QDialog* w) {
        button(w, "cmdOpen")->click();
        EXPECT_FALSE(button(w, "cmdSend")->isEnabled());
    });
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(g->count("SELECT * FROM KVR_36"), 0);
}

TEST_F(PictureWindows, AFileThatIsNoPictureIsNamedWithTheReadersReason) {
    chosen = file("notes.bmp");
    {
        QFile f(chosen);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("this is no bitmap");
    }
    inWindow("menuEditImage", "frmImage", [&](QDialog* w) {
        button(w, "cmdOpen")->click();
        EXPECT_FALSE(button(w, "cmdSend")->isEnabled());
    });
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_NE(messagesShown()[0].find("notes.bmp"), std::string::npos) << messagesShown()[0];
    EXPECT_EQ(g->count("SELECT * FROM KVR_37"), 0);
}

TEST_F(PictureWindows, ACancelledDialogChangesNothingAndANumberChangeRepacksEvenWithoutAPicture) {
    chosen.clear();
    inWindow("menuEditImage", "frmImage", [&](QDialog* w) {
        button(w, "cmdOpen")->click();
        EXPECT_EQ(g->count("SELECT * FROM KVR_37"), 0);
        EXPECT_FALSE(button(w, "cmdSend")->isEnabled());
        comboBox(w, "combImageNum")->setCurrentIndex(11);  // number 12, no picture
        EXPECT_TRUE(button(w, "cmdSend")->isEnabled());
    });
    EXPECT_EQ(scalefiles::pictureRows(db(), scalefiles::PictureTable::Image),
              (Records{{0, 0x12, 0, 0, 0, 6}}));
}

TEST_F(PictureWindows, RenumberingChangesOnlyTheNumberBytes) {
    chosen = bitmap("small.bmp", 40, 30, 4);
    Records first, second;
    inWindow("menuEditImage", "frmImage", [&](QDialog* w) {
        button(w, "cmdOpen")->click();
        EXPECT_EQ(w->findChild<QLabel*>("lblSize")->text(), "Pirture Pixel: 40 , 30");  // packed 48 wide
        first = scalefiles::pictureRows(db(), scalefiles::PictureTable::Image);
        comboBox(w, "combImageNum")->setCurrentIndex(98);
        second = scalefiles::pictureRows(db(), scalefiles::PictureTable::Image);
    });
    ASSERT_EQ(first.size(), second.size());
    ASSERT_EQ(first.size(), 2u);
    EXPECT_EQ(first[0][6], 6);
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(second[i][1], 0x99);
        EXPECT_EQ(std::vector<uint8_t>(first[i].begin() + 2, first[i].end()),
                  std::vector<uint8_t>(second[i].begin() + 2, second[i].end()));
    }
}

TEST_F(PictureWindows, ASmallerImageOverALargerLeavesNoStaleBlocksAndDeleteEmptiesTheFile) {
    chosen = bitmap("large.bmp", 448, 1000, 5);
    inWindow("menuEditImage", "frmImage", [&](QDialog* w) {
        button(w, "cmdOpen")->click();
        button(w, "cmdSend")->click();
    });
    ASSERT_EQ(fetched(0, "37").size(), 29u);  // 448 x 1000 / 8 = 56000 bytes: 28 blocks
    chosen = bitmap("small.bmp", 48, 20, 6);
    Records table;
    inWindow("menuEditImage", "frmImage", [&](QDialog* w) {
        button(w, "cmdOpen")->click();
        table = scalefiles::pictureRows(db(), scalefiles::PictureTable::Image);
        button(w, "cmdSend")->click();
    });
    EXPECT_EQ(fetched(1, "37"), table);
    ASSERT_TRUE(scalefiles::decodeImage(fetched(1, "37")));
    inWindow("menuEditImage", "frmImage", [&](QDialog* w) { button(w, "cmdDelete")->click(); });
    for (int s : {0, 1}) EXPECT_TRUE(fetched(s, "37").empty());
}

TEST_F(PictureWindows, ALogoIsSentAndFetchedBackAsPreviewed) {
    chosen = bitmap("logo.bmp", 128, 64, 7);
    Records table;
    QImage preview;
    inWindow("menuEditLogo", "frmLogo", [&](QDialog* w) {
        EXPECT_EQ(comboBox(w, "combImageNum")->count(), 4);
        EXPECT_EQ(w->findChild<QPushButton*>("cmdDelete"), nullptr);
        button(w, "cmdOpen")->click();
        comboBox(w, "combImageNum")->setCurrentIndex(2);
        table = scalefiles::pictureRows(db(), scalefiles::PictureTable::Logo);
        preview = static_cast<scalefiles::FrmPicture*>(w)->preview();
        button(w, "cmdSend")->click();
    });
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(table[0][3], 3);
    for (int s : {0, 1}) EXPECT_EQ(fetched(s, "36"), table);
    EXPECT_TRUE(fetched(2, "36").empty());
    const auto d = scalefiles::decodeLogo(fetched(0, "36").at(0));
    ASSERT_TRUE(d);
    EXPECT_EQ(scalefiles::printedImage(d->printed, 128, 64), preview);
}

// The fitted preview of the largest image shows every line one dot thick (grey where it is
// shrunk), not only the lines its pixels happen to fall on.
TEST_F(PictureWindows, TheFittedPreviewKeepsEveryThinLineOfALargeImage) {
    QImage img(448, 1760, QImage::Format_RGB32);
    img.fill(Qt::white);
    const int lines[] = {200, 611, 1003, 1405};
    for (int y : lines)
        for (int x = 50; x < 400; ++x) img.setPixel(x, y, 0xFF000000u);
    chosen = file("lines.bmp");
    ASSERT_TRUE(img.save(chosen, "BMP"));
    QImage fitted;
    inWindow("menuEditImage", "frmImage", [&](QDialog* w) {
        button(w, "cmdOpen")->click();
        fitted = w->findChild<QLabel*>("picPreviewFit")->pixmap().toImage().convertToFormat(QImage::Format_RGB32);
    });
    ASSERT_GT(fitted.height(), 100);
    ASSERT_LT(fitted.height(), 1760 / 3);
    // Runs of rows holding a grey or black dot (the red frame, pink where shrunk, is not counted).
    int runs = 0;
    bool inRun = false;
    for (int y = 0; y < fitted.height(); ++y) {
        bool dark = false;
        for (int x = 0; x < fitted.width() && !dark; ++x) {
            const QRgb p = fitted.pixel(x, y);
            const int hi = std::max({qRed(p), qGreen(p), qBlue(p)}), lo = std::min({qRed(p), qGreen(p), qBlue(p)});
            dark = hi < 240 && hi - lo < 16;
        }
        if (dark && !inRun) ++runs;
        inRun = dark;
    }
    EXPECT_EQ(runs, 4);
}

}  // namespace
}  // namespace brindale::testing
