// frmImage and frmLogo in the running program, offscreen, driven by control name: a picture
// chosen through the file dialog (answered by the test), packed into the scratch table, previewed
// as printed, sent to the two scales of store 1 (not to the third, of store 2) and fetched back
// with the protocol's READ; the pictures that are too large or no pictures at all; renumbering;
// delete; a smaller picture sent over a larger one.
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <random>

#include "chain_settings.h"
#include "emulated_scale.h"
#include "gui_support.h"
#include "read_client.h"
#include "scalefiles/picture_rows.h"
#include "scalefiles/ui/picture_window.h"
#include "shell/program_state.h"
#include "store/hierarchy.h"
#include "transfer/ui/main_transfers.h"

namespace brindale::testing {
namespace {

using Records = std::vector<std::vector<uint8_t>>;

std::unique_ptr<TempApp> chainWithThreeScales() {
    datagen::ChainShape shape;
    shape.stores = 2;
    shape.sectionsPerStore = 1;
    shape.scalesPerSection = 1;
    shape.plus = 10;
    auto dir = generatedApp(shape, 5, 0, [](shell::ProgramState& st) {
        st.Conn->exec("DELETE FROM SCALE");
        int n = 0;
        for (const char* a : {"127.0.0.2", "127.0.0.3", "127.0.0.4"}) {
            ++n;
            st.Conn->exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES ('" +
                          store::padAddress(a) + "', 'Scale " + std::to_string(n) + "', 1, " +
                          std::to_string(n <= 2 ? 1 : 2) + ", 1)");
        }
    });
    datagen::writeChainSettings(dir->dir(), 2);  // two stores: multi store mode
    return dir;
}

class PictureWindows : public ::testing::Test {
protected:
    std::unique_ptr<GuiApp> g;
    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales;
    QTimer closer;  // closes the progress window once its transfer has ended
    QString chosen;  // what the file dialog answers
    int dialogsOpened = 0;

    void SetUp() override {
        answerYes();
        clearMessages();
        g = std::make_unique<GuiApp>(chainWithThreeScales());
        ASSERT_EQ(g->start(), 0);
        std::string error;
        scales = scaleemu::startScales({"127.0.0.2", "127.0.0.3", "127.0.0.4"},
                                       [](const std::string&) { return false; }, error);
        ASSERT_EQ(scales.size(), 3u) << error;
        transfer::TransferOptions to;
        to.port = scales[0]->port();
        to.connectTimeout = std::chrono::milliseconds(2000);
        to.replyTimeout = std::chrono::milliseconds(5000);
        to.scaleTimeout = std::chrono::milliseconds(20000);
        g->w().KVRDataTrans1().setOptions(to);
        QObject::connect(&closer, &QTimer::timeout, [] {
            QWidget* m = QApplication::activeModalWidget();
            if (!m || m->objectName() != "frmTransfer") return;
            auto* close = m->findChild<QPushButton*>("cmdClose");
            if (close && close->isEnabled()) close->click();
        });
        closer.start(20);
        scalefiles::FrmPicture::setFileChooser([this](QWidget*, const QString& filter) {
            ++dialogsOpened;
            EXPECT_EQ(filter, "All Files (*.*);;Image Files (*.bmp)");
            return chosen;
        });
        // The file windows open in the data view, which sends to every scale of the store: store 1
        // has 127.0.0.2 and 127.0.0.3, store 2 has 127.0.0.4.
        g->select("STORE 1");
        g->tree().cmdData();
        ASSERT_EQ(g->state().currentStore, 1);
        ASSERT_EQ(g->state().currentSection, 0);
    }
    void TearDown() override {
        scalefiles::FrmPicture::setFileChooser({});
        closer.stop();
        for (auto& s : scales) s->stop();
    }

    store::Database& db() { return *g->state().Conn; }
    QString file(const QString& name) { return QString::fromStdString(g->dir->dir()) + "/" + name; }

    // A BMP of random pure black and other pixels (grey among them), saved under the app folder.
    QString bitmap(const QString& name, int w, int h, uint32_t seed) {
        QImage img(w, h, QImage::Format_RGB32);
        std::mt19937 rng(seed);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int r = int(rng() % 4);
                img.setPixel(x, y, r == 0 ? 0xFF000000u : r == 1 ? 0xFF202020u : 0xFFFFFFFFu);
            }
        const QString path = file(name);
        EXPECT_TRUE(img.save(path, "BMP"));
        return path;
    }

    Records fetched(int scale, const std::string& code) {
        std::string error;
        auto r = readScaleFile("127.0.0." + std::to_string(scale + 2), scales[0]->port(), code, error);
        EXPECT_TRUE(error.empty()) << error;
        return r;
    }

    // Opens the window by its menu and runs `act` in it.
    void inWindow(const char* menu, const char* form, const std::function<void(QDialog*)>& act) {
        ModalDriver d(form, [&](QDialog* w) {
            act(w);
            button(w, "cmdClose")->click();
        });
        g->trigger(menu);
        ASSERT_TRUE(d.seen()) << form;
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

}  // namespace
}  // namespace brindale::testing
