#include "gui_support.h"

#include "shell/lifecycle.h"
#include "shell/paths.h"
#include "shell/settings.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QElapsedTimer>
#include <QTimer>
#include <QTreeWidgetItemIterator>
#include <functional>

#include "shell/paths.h"
#include "shell/settings.h"
#include "store/hierarchy.h"
#include "store/recordset.h"

namespace brindale::testing {

GuiApp::GuiApp(int storeMode, const std::string& chain) : dir(makeHierarchyApp(true)) {
    auto s = shell::readSettings(dir->path(shell::kSettingsFile));
    s.StoreMode = storeMode;
    s.StoreNameSetting = storeMode == 1 ? chain : "";
    s.StoreNameLine = s.StoreNameSetting;
    shell::writeSettings(dir->path(shell::kSettingsFile), s);
    app = std::make_unique<shell::Application>(dir->dir());
}

GuiApp::GuiApp(std::unique_ptr<TempApp> existing) : dir(std::move(existing)) {
    app = std::make_unique<shell::Application>(dir->dir());
}

int GuiApp::start() { return app->start(); }

void GuiApp::end() { app->end(); }

void GuiApp::trigger(const char* name) {
    QAction* a = w().action(name);
    ASSERT_NE(a, nullptr) << name;
    ASSERT_TRUE(a->isEnabled()) << name << " is off";
    a->trigger();
}

bool GuiApp::enabled(const char* name) const {
    if (QAction* a = w().action(name)) return a->isEnabled();
    if (QPushButton* b = w().button(name)) return b->isEnabled();
    ADD_FAILURE() << "no command " << name;
    return false;
}

void GuiApp::select(const std::string& key) { ASSERT_TRUE(tree().selectKey(key)) << "no node " << key << "\n" << dump(); }

std::string GuiApp::dump() const {
    std::string out;
    std::function<void(QTreeWidgetItem*, int)> walk = [&](QTreeWidgetItem* item, int depth) {
        out += std::string(static_cast<size_t>(depth) * 2, ' ') + shell::TreeController::keyOf(item) + "|" +
               item->text(0).toStdString() + "\n";
        for (int i = 0; i < item->childCount(); ++i) walk(item->child(i), depth + 1);
    };
    for (int i = 0; i < w().tree()->topLevelItemCount(); ++i) walk(w().tree()->topLevelItem(i), 0);
    return out;
}

int GuiApp::count(const std::string& sql) const {
    store::Recordset rs(*state().Conn, sql);
    return static_cast<int>(rs.recordCount());
}

std::unique_ptr<TempApp> generatedApp(const datagen::ChainShape& shape, uint32_t seed, int language,
                                      const std::function<void(shell::ProgramState&)>& more) {
    struct Quiet : shell::LifecycleView {
        void setLabel(const std::string&) override {}
        void repaint() override {}
    };
    auto dir = std::make_unique<TempApp>();
    auto settings = shell::readSettings(dir->path(shell::kSettingsFile));
    settings.LanguageIndex = language;
    shell::writeSettings(dir->path(shell::kSettingsFile), settings);
    shell::ProgramState st;
    st.appDir = dir->dir();
    Quiet q;
    if (shell::runStartup(st, q) != shell::StartResult::Ok) throw std::runtime_error("the start failed");
    datagen::generateChain(*st.Conn, st.codecEnvironment(), shape, seed);
    if (more) more(st);
    shell::endProgram(st, q);
    return dir;
}

ModalDriver::ModalDriver(const QString& name, std::function<void(QDialog*)> act) : timer_(new QTimer) {
    auto started = std::make_shared<QElapsedTimer>();
    started->start();
    auto seen = seen_;
    QTimer* t = timer_;
    t->setInterval(10);
    QObject::connect(t, &QTimer::timeout, t, [t, name, act, seen, started] {
        auto* dlg = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dlg && dlg->objectName() == name && !*seen) {
            *seen = true;
            t->stop();
            act(dlg);
            // A form that the action left open is closed after the limit.
            if (dlg->isVisible()) t->start();
            return;
        }
        if (started->elapsed() > 5000) {
            t->stop();
            if (dlg) dlg->done(QDialog::Rejected);
        }
    });
    t->start();
}

ModalDriver::~ModalDriver() { delete timer_; }

namespace {
std::vector<std::string>& shownTexts() {
    static std::vector<std::string> v;
    return v;
}
}  // namespace

void answerYes() {
    shell::Messages::setResponder([](const shell::MessageRecord& r) {
        shownTexts().push_back(r.text.toStdString());
        return r.buttons == shell::MsgButtons::YesNo || r.buttons == shell::MsgButtons::YesNoCancel
                   ? shell::MsgResult::Yes
                   : shell::MsgResult::Ok;
    });
}

std::vector<std::string> messagesShown() { return shownTexts(); }
void clearMessages() { shownTexts().clear(); }

QLineEdit* lineEdit(QWidget* form, const char* name) {
    auto* e = form->findChild<QLineEdit*>(name);
    EXPECT_NE(e, nullptr) << name;
    return e;
}

QComboBox* comboBox(QWidget* form, const char* name) {
    auto* c = form->findChild<QComboBox*>(name);
    EXPECT_NE(c, nullptr) << name;
    return c;
}

QPushButton* button(QWidget* form, const char* name) {
    auto* b = form->findChild<QPushButton*>(name);
    EXPECT_NE(b, nullptr) << name;
    return b;
}

void setText(QWidget* form, const char* name, const QString& text) {
    if (auto* e = lineEdit(form, name)) e->setText(text);
}

void clickOk(QWidget* form) {
    if (auto* b = button(form, "cmdOK")) b->click();
}

// The first run of single store mode: store 1 made through its form, named `name`.
void firstStore(GuiApp& g, const QString& name) {
    ModalDriver d("frmProperties", [&](QDialog* f) {
        setText(f, "txtName", name);
        clickOk(f);
    });
    ASSERT_EQ(g.start(), 0);
    ASSERT_TRUE(d.seen());
}

void newSection(GuiApp& g, const std::string& storeKey) {
    g.select(storeKey);
    clearMessages();
    const int before = g.count("SECT");
    std::string title;
    ModalDriver d("frmProperties", [&](QDialog* f) { title = f->windowTitle().toStdString(); clickOk(f); });
    g.trigger("menuSection");
    ASSERT_TRUE(d.seen());
    ASSERT_TRUE(messagesShown().empty()) << messagesShown().front();
    ASSERT_EQ(g.count("SECT"), before + 1) << title << "\n" << g.dump();
    store::Recordset rs(*g.state().Conn, "SECT");
    ASSERT_EQ(rs.intValue("ST_No"), 1) << g.dump();
    const std::string key = "SECT 1 " + std::to_string(before + 1);
    ASSERT_NE(g.tree().findKey(key), nullptr) << g.dump() << " view " << g.state().viewNumber;
}

void newMachine(GuiApp& g, const std::string& sectKey, const QStringList& ip, const QString& number) {
    g.select(sectKey);
    ModalDriver d("frmScProperties", [&](QDialog* f) {
        for (int i = 0; i < 4; ++i) setText(f, QString("txtScaleIP_%1").arg(i).toUtf8().constData(), ip[i]);
        setText(f, "txtScaleNo", number);
        clickOk(f);
    });
    g.trigger("menuMachine");
    ASSERT_TRUE(d.seen());
}

}  // namespace brindale::testing
