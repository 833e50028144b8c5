// The shell's smaller traps, driven through the real windows offscreen: commands on only when
// they do something, menus reachable by keyboard, the machine address typed as in any address
// field, Qt's own buttons in the chosen language, a settings file that cannot be written.
#include <gtest/gtest.h>

#include <QAction>
#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <cerrno>
#include <set>

#include "gui_support.h"
#include "plu/ui/plu_list.h"
#include "shell/paths.h"
#include "shell/settings.h"
#include "store/hierarchy.h"

using namespace brindale;
using namespace brindale::testing;
using store::padAddress;

namespace {

struct ShellGui : ::testing::Test {
    void SetUp() override {
        answerYes();
        clearMessages();
    }
    void TearDown() override {
        shell::setSettingsWriteCalls({});
        shell::useQtTranslations(0);
    }
};

void firstStore(GuiApp& g) {
    ModalDriver d("frmProperties", [&](QDialog* f) {
        setText(f, "txtName", "S");
        clickOk(f);
    });
    ASSERT_EQ(g.start(), 0);
    ASSERT_TRUE(d.seen());
}

// Makes an object through its command and its form, OK at once (the defaults suffice).
void make(GuiApp& g, const std::string& parentKey, const char* command, const char* form,
          const std::function<void(QDialog*)>& fill = {}) {
    g.select(parentKey);
    ModalDriver d(form, [&](QDialog* f) {
        if (fill) fill(f);
        clickOk(f);
    });
    g.trigger(command);
    ASSERT_TRUE(d.seen()) << command;
}

// Whatever modal window opens is recorded and cancelled (checked every 10 ms, at most 5 s).
class AnyModal {
public:
    AnyModal() {
        started_.start();
        timer_.setInterval(10);
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] {
            if (auto* dlg = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                seen_.insert(dlg->objectName().toStdString());
                dlg->done(QDialog::Rejected);
            }
            if (started_.elapsed() > 5000) timer_.stop();
        });
        timer_.start();
    }
    const std::set<std::string>& seen() const { return seen_; }

private:
    QTimer timer_;
    QElapsedTimer started_;
    std::set<std::string> seen_;
};

// A chain with a node of every kind: store, section, machine; department, main group, search set.
void buildChain(GuiApp& g) {
    firstStore(g);
    make(g, "STORE 1", "menuSection", "frmProperties");
    make(g, "SECT 1 1", "menuMachine", "frmScProperties", [](QDialog* f) {
        setText(f, "txtScaleIP_0", "10");
        setText(f, "txtScaleIP_3", "5");
        setText(f, "txtScaleNo", "A");
    });
    g.select("STORE 1");
    g.w().button("cmdData")->click();
    make(g, "STORE 1", "menuDept", "frmProperties");
    make(g, "DEPT 1 1", "menuMg", "frmProperties");
    make(g, "STORE 1", "menuSearch", "frmSearch");
}

// Every command that is on has a handler; returns the names that are on.
std::vector<QString> checkEnabledHaveHandlers(GuiApp& g, const std::string& where) {
    std::vector<QString> on;
    for (const QString& name : g.w().commandNames()) {
        if (!g.enabled(name.toUtf8().constData())) continue;
        EXPECT_TRUE(g.w().implemented(name)) << name.toStdString() << " is on at " << where << " but does nothing";
        on.push_back(name);
    }
    return on;
}

}  // namespace

TEST_F(ShellGui, AfterClicksOnEveryNodeKindOnlyCommandsWithAHandlerAreOnAndEachDoesSomething) {
    GuiApp g;
    buildChain(g);
    const std::string machine = "MACHINE 1 1 " + padAddress("10.0.0.5");
    // The data view first, then the store view: every kind of node.
    std::vector<std::pair<int, std::string>> nodes = {{0, "STORE 1"}, {0, "DEPT 1 1"}, {0, "MG 1 1 1"},
                                                      {0, "SEARCH 1 1"}, {1, "STORE 1"}, {1, "SECT 1 1"},
                                                      {1, machine}};
    std::set<std::string> tried;
    for (const auto& [view, key] : nodes) {
        if (view == 1 && g.state().viewNumber != 1) g.w().button("cmdStore")->click();
        g.select(key);
        const auto on = checkEnabledHaveHandlers(g, key);
        // The edit menu's windows are on in the data view only.
        EXPECT_EQ(g.enabled("menuEditFlexiBarcode"), view == 0) << key;
        // Sending the store's departments is a command of a department node in the data view.
        EXPECT_EQ(g.enabled("menuDownloadDept"), view == 0 && key.rfind("DEPT ", 0) == 0) << key;
        for (const QString& name : on) {
            // Ending the run and changing the language have tests of their own.
            if (name == "menuExit" || name == "menuEnglish" || name == "menuChinese" || name == "menuOthers") continue;
            // So have the PLU editor's commands (tests/plu_editor).
            if (name == "cmdNew" || name == "cmdEdit" || name == "cmdUpdate" || name == "cmdCancel") continue;
            // So have the translation and the help, which open windows beside the main window
            // (tests/shell).
            if (name == "menuLanguageTranslate" || name == "menuSoftwareHelp") continue;
            g.select(key);
            if (!g.enabled(name.toUtf8().constData())) continue;
            shell::Messages::clearShown();
            const int viewBefore = g.state().viewNumber;
            QTreeWidgetItem* topBefore = g.w().tree()->topLevelItem(0);
            // Answer No to "are you sure", so that nothing is deleted.
            shell::Messages::setResponder([](const shell::MessageRecord& r) {
                return r.buttons == shell::MsgButtons::Ok ? shell::MsgResult::Ok : shell::MsgResult::No;
            });
            std::set<std::string> dialogs;
            // The PLU list read again (cmdReflesh) is something the operator sees too.
            int listReads = 0;
            auto listConn = QObject::connect(plu::ui::PluList::of(g.w()), &plu::ui::PluList::listFilled,
                                             [&listReads] { ++listReads; });
            {
                AnyModal modal;
                if (QAction* a = g.w().action(name)) a->trigger();
                else g.w().button(name)->click();
                dialogs = modal.seen();
            }
            answerYes();
            QObject::disconnect(listConn);
            const bool something = listReads > 0 || !dialogs.empty() || g.state().viewNumber != viewBefore ||
                                   g.w().tree()->topLevelItem(0) != topBefore ||
                                   !shell::Messages::shown().empty();
            EXPECT_TRUE(something) << name.toStdString() << " at " << key << " did nothing visible";
            shell::Messages::clearShown();
            tried.insert(name.toStdString());
            // Back to the view of the node.
            if (view == 1 && g.state().viewNumber != 1) g.w().button("cmdStore")->click();
            if (view == 0 && g.state().viewNumber != 0) {
                g.select("STORE 1");
                g.w().button("cmdData")->click();
            }
        }
    }
    // The commands of the tree were all reached.
    for (const char* n : {"menuSection", "menuMachine", "menuDept", "menuMg", "menuSearch", "menuProperties",
                          "popmenuProperties", "menuDelete", "cmdData", "cmdStore"})
        EXPECT_TRUE(tried.count(n)) << n << " was never on";
}

TEST_F(ShellGui, EveryMenuAndEntryHasAMnemonicUniqueAmongItsSiblingsInEveryLanguage) {
    GuiApp g;
    firstStore(g);
    for (int lang : {0, 1, 2}) {
        g.w().changeLanguage(lang);
        std::vector<std::pair<std::string, QList<QAction*>>> groups = {{"menu bar", g.w().menuBar()->actions()}};
        for (QMenu* m : g.w().findChildren<QMenu*>()) groups.push_back({m->objectName().toStdString(), m->actions()});
        ASSERT_GT(groups.size(), 6u);
        for (const auto& [where, entries] : groups) {
            std::set<QString> letters;
            for (QAction* a : entries) {
                if (a->isSeparator()) continue;
                const QKeySequence mn = QKeySequence::mnemonic(a->text());
                EXPECT_FALSE(mn.isEmpty()) << lang << " " << where << ": " << a->text().toStdString();
                EXPECT_TRUE(letters.insert(mn.toString()).second)
                    << lang << " " << where << ": " << a->text().toStdString() << " repeats " << mn.toString().toStdString();
            }
        }
    }
    // The captions that name new nodes stay plain.
    g.w().changeLanguage(0);
    EXPECT_EQ(g.state().text("frmMain_Menu", "menuStore").find('&'), std::string::npos);
    g.w().button("cmdData")->click();
    make(g, "STORE 1", "menuDept", "frmProperties");
    ASSERT_NE(g.tree().findKey("DEPT 1 1"), nullptr) << g.dump();
    EXPECT_EQ(g.tree().findKey("DEPT 1 1")->text(0).toStdString(),
              g.state().text("frmMain_Menu", "menuDept") + "1");
}

TEST_F(ShellGui, AltLetterAndF10OpenTheFileMenu) {
    GuiApp g;
    firstStore(g);
    QMenu* file = g.w().menu("menuFile");
    ASSERT_NE(file, nullptr);
    g.w().activateWindow();
    QApplication::setActiveWindow(&g.w());
    const QKeySequence mn = QKeySequence::mnemonic(file->title());
    ASSERT_FALSE(mn.isEmpty()) << file->title().toStdString();
    const int letter = mn[0].key();
    QTest::keyClick(&g.w(), Qt::Key(letter), Qt::AltModifier);
    QElapsedTimer t;
    t.start();
    while (!file->isVisible() && t.elapsed() < 2000) QTest::qWait(10);
    EXPECT_TRUE(file->isVisible()) << "Alt+" << mn.toString().toStdString();
    file->hide();
    QTest::qWait(10);
    g.w().menuBar()->setActiveAction(nullptr);
    QTest::keyClick(&g.w(), Qt::Key_F10);
    t.restart();
    while (!file->isVisible() && t.elapsed() < 2000) QTest::qWait(10);
    EXPECT_TRUE(file->isVisible()) << "F10";
    file->hide();
}

TEST_F(ShellGui, AMachineAddressIsTypedAsInEveryAddressField) {
    GuiApp g;
    firstStore(g);
    make(g, "STORE 1", "menuSection", "frmProperties");
    g.select("SECT 1 1");
    QStringList typed, afterBackspace, afterTooBig, afterPaste, afterMenuPaste;
    ModalDriver d("frmScProperties", [&](QDialog* f) {
        auto boxes = [f] {
            QStringList l;
            for (int i = 0; i < 4; ++i) l << lineEdit(f, QString("txtScaleIP_%1").arg(i).toUtf8().constData())->text();
            return l;
        };
        auto type = [f](const QString& keys) {
            for (QChar c : keys) QTest::keyClicks(f->focusWidget(), QString(c));
        };
        type("127.0.0.2");
        typed = boxes();
        for (int i = 0; i < 3; ++i) QTest::keyClick(f->focusWidget(), Qt::Key_Backspace);
        afterBackspace = boxes();
        type("300");  // 300 is no group: the last 0 is refused
        afterTooBig = boxes();
        // A whole address pasted into the first box fills all four.
        QGuiApplication::clipboard()->setText("192.168.1.20");
        auto* first = lineEdit(f, "txtScaleIP_0");
        first->setFocus();
        first->selectAll();
        QTest::keyClick(first, Qt::Key_V, Qt::ControlModifier);
        afterPaste = boxes();
        // The same through the box's own paste (its context menu).
        QGuiApplication::clipboard()->setText("10.1.2.3");
        first->setFocus();
        first->selectAll();
        first->paste();
        afterMenuPaste = boxes();
        setText(f, "txtScaleNo", "A");
        clickOk(f);
    });
    g.trigger("menuMachine");
    ASSERT_TRUE(d.seen());
    EXPECT_EQ(typed, (QStringList{"127", "0", "0", "2"}));
    EXPECT_EQ(afterBackspace, (QStringList{"127", "", "", ""}));
    EXPECT_EQ(afterTooBig, (QStringList{"127", "30", "", ""}));
    EXPECT_EQ(afterPaste, (QStringList{"192", "168", "1", "20"}));
    EXPECT_EQ(afterMenuPaste, (QStringList{"10", "1", "2", "3"}));
    EXPECT_NE(g.tree().findKey("MACHINE 1 1 " + padAddress("10.1.2.3")), nullptr) << g.dump();
}

TEST_F(ShellGui, DigitsFillAGroupAndMoveOnAndLettersAreRefused) {
    GuiApp g;
    firstStore(g);
    make(g, "STORE 1", "menuSection", "frmProperties");
    g.select("SECT 1 1");
    QStringList boxesSeen;
    ModalDriver d("frmScProperties", [&](QDialog* f) {
        for (QChar c : QString("10x0.5.a7.99")) QTest::keyClicks(f->focusWidget(), QString(c));
        for (int i = 0; i < 4; ++i)
            boxesSeen << lineEdit(f, QString("txtScaleIP_%1").arg(i).toUtf8().constData())->text();
        button(f, "cmdCanel")->click();
    });
    g.trigger("menuMachine");
    ASSERT_TRUE(d.seen());
    // "100" fills the first group and moves on; the dot right after is that same move.
    EXPECT_EQ(boxesSeen, (QStringList{"100", "5", "7", "99"}));
}

TEST_F(ShellGui, QtsOwnYesButtonIsChineseInTheChineseScreensAndEnglishAgainAfterwards) {
    GuiApp g;
    auto s = shell::readSettings(g.dir->path(shell::kSettingsFile));
    s.LanguageIndex = 1;
    shell::writeSettings(g.dir->path(shell::kSettingsFile), s);
    firstStore(g);
    auto yesText = [] {
        QMessageBox box;
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        return box.button(QMessageBox::Yes)->text();
    };
    EXPECT_TRUE(yesText().contains(QString::fromUtf8("是"))) << yesText().toStdString();
    g.trigger("menuEnglish");
    EXPECT_EQ(g.state().settings.LanguageIndex, 0);
    EXPECT_EQ(yesText(), "&Yes");
    g.trigger("menuChinese");
    EXPECT_TRUE(yesText().contains(QString::fromUtf8("是"))) << yesText().toStdString();
    g.trigger("menuOthers");
    EXPECT_EQ(yesText(), "&Yes");
}

namespace {
long diskFull(int, const void*, unsigned long) {
    errno = ENOSPC;
    return -1;
}
}  // namespace

TEST_F(ShellGui, ALanguageChangeThatCannotBeSavedIsToldAndChangesNothing) {
    GuiApp g;
    firstStore(g);
    const std::string before = g.dir->read(shell::kSettingsFile);
    const QString caption = g.w().menu("menuFile")->title();
    shell::setSettingsWriteCalls({&diskFull, nullptr});
    clearMessages();
    g.trigger("menuChinese");
    shell::setSettingsWriteCalls({});
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_NE(messagesShown()[0].find(shell::kSettingsFile), std::string::npos) << messagesShown()[0];
    EXPECT_NE(messagesShown()[0].find(std::strerror(ENOSPC)), std::string::npos) << messagesShown()[0];
    EXPECT_EQ(g.state().settings.LanguageIndex, 0);
    EXPECT_TRUE(g.w().action("menuEnglish")->isChecked());
    EXPECT_FALSE(g.w().action("menuChinese")->isChecked());
    EXPECT_EQ(g.w().menu("menuFile")->title(), caption);
    EXPECT_EQ(g.dir->read(shell::kSettingsFile), before);
}
