// Pictures for a person to look at (not part of the suite): frmDownLoad with its send and delete
// captions (and a PLU held back), the progress window's summary with a refused scale, and
// frmUpload over fetched PLUs, in English and in Chinese: /tmp/transfer_<language>_<what>.png.
// With an argument N, frmUpload is shown over N generated records instead (e.g. 100000).
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QPushButton>
#include <QTimer>

#include "chain_generator.h"
#include "emulated_scale.h"
#include "gui_support.h"
#include "plu/ui/plu_list.h"
#include "shell/lifecycle.h"
#include "shell/paths.h"
#include "shell/settings.h"
#include "store/plu_pack.h"
#include "transfer/ui/main_transfers.h"
#include "transfer/ui/upload_window.h"

using namespace brindale;
using namespace brindale::testing;

namespace {

// Grabs the modal window `name` when `ready` says so, then runs `then` (bounded: 60 s).
void whenReady(const QString& name, std::function<bool(QWidget*)> ready, const QString& file,
               std::function<void(QWidget*)> then) {
    auto* t = new QTimer;
    auto started = std::make_shared<qint64>(QDateTime::currentMSecsSinceEpoch());
    QObject::connect(t, &QTimer::timeout, [=] {
        QWidget* m = QApplication::activeModalWidget();
        if (QDateTime::currentMSecsSinceEpoch() - *started > 60000) {
            t->deleteLater();
            if (m) m->close();
            return;
        }
        if (!m || m->objectName() != name || !ready(m)) return;
        t->stop();
        t->deleteLater();
        QApplication::processEvents();
        m->grab().save(file);
        then(m);
    });
    t->start(50);
}

void shots(int language, const char* tag, long uploadRecords) {
    datagen::ChainShape shape;
    shape.plus = 300;
    shape.stores = 1;
    auto dir = generatedApp(shape, 42, language, [](shell::ProgramState& st) {
        st.Conn->exec("DELETE FROM SCALE");
        st.Conn->exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES "
                      "('127.  0.  0.  2', 'Deli 1', 1, 1, 1), ('127.  0.  0.  3', 'Deli 2', 1, 1, 1)");
    });
    GuiApp g(std::move(dir));
    if (g.start() != 0) return;
    g.w().resize(1180, 760);
    g.w().show();
    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales;
    uint16_t port = 0;
    for (const char* a : {"127.0.0.2", "127.0.0.3"}) {
        scaleemu::ScaleOptions so;
        so.address = a;
        so.port = port;
        so.refuse = std::string(a) == "127.0.0.3";
        auto sc = std::make_unique<scaleemu::EmulatedScale>(so);
        std::string error;
        if (!sc->start(error)) return;
        port = sc->port();
        scales.push_back(std::move(sc));
    }
    transfer::TransferOptions to;
    to.port = port;
    to.connectTimeout = std::chrono::milliseconds(2000);
    g.w().KVRDataTrans1().setOptions(to);
    g.state().Conn->exec("UPDATE KVR_25 SET Is_Selected = 1 WHERE rowid IN (SELECT rowid FROM KVR_25 "
              "WHERE ST_No = 1 ORDER BY PLU_No LIMIT 12)");
    store::packPluRows(*g.state().Conn, g.state().codecEnvironment(), "", true);  // records to keep at the end
    g.state().Conn->exec("UPDATE KVR_25 SET PLU_UPrice = 99999999999 WHERE rowid = (SELECT rowid FROM KVR_25 "
              "WHERE Is_Selected = 1 ORDER BY PLU_No LIMIT 1 OFFSET 3)");
    g.select("SECT 1 1");
    const QString prefix = QString("/tmp/transfer_%1_").arg(tag);
    auto buttonsOn = [](QWidget* m) { return m->findChild<QPushButton*>("cmdOK")->isEnabled(); };
    auto closeOn = [](QWidget* m) { return m->findChild<QPushButton*>("cmdClose")->isEnabled(); };

    whenReady("frmDownLoad", buttonsOn, prefix + "download.png", [](QWidget* m) {
        m->findChild<QCheckBox*>("chkDept")->setChecked(true);
        m->findChild<QPushButton*>("cmdOK")->click();
    });
    whenReady("frmTransfer", closeOn, prefix + "summary.png",
              [](QWidget* m) { m->findChild<QPushButton*>("cmdClose")->click(); });
    transfer::ui::MainTransfers::of(g.w())->cmdSendAll();
    g.w().grab().save(prefix + "main.png");
    std::fprintf(stderr, "after send: %zu records on the first scale\n", scales[0]->file("25").size());

    whenReady("frmDownLoad", buttonsOn, prefix + "delete.png",
              [](QWidget* m) { m->findChild<QPushButton*>("cmdCancel")->click(); });
    transfer::ui::MainTransfers::of(g.w())->cmdDel();
    std::fprintf(stderr, "after delete: %zu records on the first scale, cancelFlag %d\n", scales[0]->file("25").size(),
                 g.w().flowState().cancelFlag);

    if (uploadRecords > 0) {
        // N fetched records: the store's PLUs packed and copied into RC_25 over and over.
        auto& db = *g.state().Conn;
        store::packPluRows(db, g.state().codecEnvironment(), "", true);
        db.exec("DELETE FROM RC_25");
        db.exec("INSERT INTO RC_25 (KVRBinData) SELECT KVRBinData FROM KVR_25 WHERE KVRBinData IS NOT NULL");
        auto count = [&db] {
            auto st = db.prepare("SELECT COUNT(*) FROM RC_25");
            st->step();
            return st->columnInt(0);
        };
        while (count() < uploadRecords) db.exec("INSERT INTO RC_25 (KVRBinData) SELECT KVRBinData FROM RC_25");
        db.exec("DELETE FROM RC_25 WHERE rowid > " + std::to_string(uploadRecords));
        whenReady("frmUpload", [](QWidget* m) { return qobject_cast<transfer::ui::UploadWindow*>(m)->model()->rowCount() > 0; },
                  prefix + "upload.png", [](QWidget* m) { m->close(); });
        transfer::ui::reviewUploaded(g.state(), &g.w());
    } else {
        whenReady("frmTransfer", closeOn, prefix + "upload_summary.png",
                  [](QWidget* m) { m->findChild<QPushButton*>("cmdClose")->click(); });
        whenReady("frmUpload", [](QWidget* m) { return qobject_cast<transfer::ui::UploadWindow*>(m)->model()->rowCount() > 0; },
                  prefix + "upload.png", [](QWidget* m) {
                      auto* w = qobject_cast<transfer::ui::UploadWindow*>(m);
                      w->clickGrid(1, 6);
                      w->clickGrid(3, 6);
                      w->clickGrid(2, 1);
                      QApplication::processEvents();
                      m->grab().save("/tmp/transfer_upload_marked.png");
                      m->close();
                  });
        transfer::ui::MainTransfers::of(g.w())->menuUpLoad();
    }
    // The history, narrowed to the refusing scale.
    const QString filtered = prefix + "history_filtered.png";
    whenReady("frmTransferLog", [](QWidget*) { return true; }, prefix + "history.png", [filtered](QWidget* m) {
        auto* scale = m->findChild<QComboBox*>("combScale");
        scale->setCurrentIndex(scale->findText("Deli 2", Qt::MatchContains));
        QApplication::processEvents();
        m->grab().save(filtered);
        m->close();
    });
    g.trigger("menuTransferLog");
    for (auto& sc : scales) sc->stop();
    g.state().pluChanged = false;
}
}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    answerYes();
    const long n = argc > 1 ? std::atol(argv[1]) : 0;
    shots(0, "en", n);
    shots(1, "zh", n);
    return 0;
}
