#pragma once
// Driving the real program offscreen: the application in a temporary folder, its modal forms
// found by name and filled by their control names, messages answered by a responder.
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "chain_generator.h"
#include "fixture.h"
#include "shell/application.h"
#include "shell/main_window.h"
#include "shell/messages.h"
#include "shell/tree_controller.h"

namespace brindale::testing {

struct GuiApp {
    std::unique_ptr<TempApp> dir;
    std::unique_ptr<shell::Application> app;

    // A fresh folder; `storeMode` 1 gives multi store mode with the chain named `chain`.
    explicit GuiApp(int storeMode = 0, const std::string& chain = "North");
    // Starts the program in an existing folder (a second run).
    explicit GuiApp(std::unique_ptr<TempApp> existing);

    int start();
    void end();
    shell::MainWindow& w() const { return *app->mainWindow(); }
    shell::TreeController& tree() const { return *shell::TreeController::of(w()); }
    shell::ProgramState& state() const { return app->state(); }
    std::string text(const char* section, const char* key) const { return state().text(section, key); }

    // Triggers a menu or context-menu command; fails the test if it is off.
    void trigger(const char* name);
    bool enabled(const char* name) const;
    void select(const std::string& key);
    // "key|text" of every node, indented by depth.
    std::string dump() const;
    int count(const std::string& sql) const;
};

// A folder whose mirror holds a generated chain (`shape`, `seed`), with the settings' language
// `language`; `more` may change the running database before the end writes the mirror. Throws
// when the start or the end fails.
std::unique_ptr<TempApp> generatedApp(const datagen::ChainShape& shape, uint32_t seed, int language = 0,
                                      const std::function<void(shell::ProgramState&)>& more = {});

// Runs `act` on the modal form `name` once it is open (checked every 10 ms, for at most 5 s);
// returns whether it was seen. A form still open when `act` returns is closed by force after the
// limit, so that a test never hangs.
class ModalDriver {
public:
    ModalDriver(const QString& name, std::function<void(QDialog*)> act);
    ~ModalDriver();
    bool seen() const { return *seen_; }

private:
    std::shared_ptr<bool> seen_ = std::make_shared<bool>(false);
    QTimer* timer_;
};

// Messages are answered Yes (or OK) and recorded.
void answerYes();
std::vector<std::string> messagesShown();
void clearMessages();

QLineEdit* lineEdit(QWidget* form, const char* name);
QComboBox* comboBox(QWidget* form, const char* name);
QPushButton* button(QWidget* form, const char* name);
void setText(QWidget* form, const char* name, const QString& text);
void clickOk(QWidget* form);

// The first run of single store mode: store 1 made through its form, named `name`.
void firstStore(GuiApp& g, const QString& name);
// A new section of the store `storeKey` through its form, and a new machine of `sectKey`.
void newSection(GuiApp& g, const std::string& storeKey);
void newMachine(GuiApp& g, const std::string& sectKey, const QStringList& ip, const QString& number);

}  // namespace brindale::testing
