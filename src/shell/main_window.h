#pragma once
// frmMain: the hub. Menus, the tree of the chain, the PLU list and the tabbed PLU editor.
#include <QMainWindow>
#include <functional>
#include <map>

#include "program_state.h"
#include "transfer/flows.h"
#include "transfer/kvr_data_trans.h"

class QAction;
class QMenu;
class QPushButton;
class QTabWidget;
class QTableView;
class QTreeWidget;

namespace brindale::shell {

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(ProgramState& state, QWidget* parent = nullptr);

    ProgramState& state() { return state_; }

    // Runs the load event: captions, help file, centring, tree.
    void loadEvent();
    // Applies the language texts to menus, buttons, list headings and tabs.
    void setMainCaptions();
    void setPLUCaptions();

    // 1 saved, 2 nothing to save or the operator said no, 3 cancelled.
    int askSavePLU();
    // The PLU editor installs its save here; it returns true when the row was saved.
    void setPluSaver(std::function<bool()> saver) { pluSaver_ = std::move(saver); }
    // What closing the window starts: the closing screen and the end of the run. It returns false
    // when the data could not be saved: the window then stays open.
    void setEndHandler(std::function<bool()> handler) { endHandler_ = std::move(handler); }

    void changeLanguage(int index);

    // The one transfer control of the program; every window uses this instance.
    transfer::KVRDataTrans& KVRDataTrans1() { return KVRDataTrans1_; }
    // The transfer preamble without a dialog between its halves (the flows of the main window's
    // commands run through MainTransfers): the language text of the transfer, then the six
    // properties in their order and the blocking call. False when the store or section number does not fit the
    // control (the message names it) and nothing was sent.
    bool runTransfer(int mode, const std::vector<std::string>& identifiers, int store, int section);

    QAction* action(const QString& name) const;
    QPushButton* button(const QString& name) const;

    // The one place that knows which commands do something: a command (menu entry or button) is
    // implemented once its handler is installed here, and only an implemented command can be on.
    void setHandler(const QString& name, std::function<void()> handler);
    bool implemented(const QString& name) const { return handlers_.count(name) != 0; }
    // Turns the command on (if it is implemented) or off.
    void setCommandEnabled(const QString& name, bool on);
    // Every menu entry and button by its control name.
    QStringList commandNames() const;
    // The menus by control name, the context menu "popmenu" among them.
    QMenu* menu(const QString& name) const;
    QTreeWidget* tree() const { return tree_; }
    // The PLU list's view; the list (plu/ui) gives it its model, the headings are set through it.
    QTableView* pluGrid() const { return grid_; }
    QTabWidget* pluTabs() const { return tabs_; }

    // Runs the editor's save now (the single-PLU download saves before it sends); true when saved
    // or when there is no editor.
    bool savePLUNow() { return !pluSaver_ || pluSaver_(); }
    // What the transfer flows keep between clicks (cancelFlag, skipRefreshFlag, the collection).
    transfer::FlowState& flowState() { return flowState_; }

    // Set once the end has run, so that a second close does nothing.
    bool ending() const { return ending_; }

signals:
    // The language texts were applied again (start, language change): parts of the window that
    // bring their own controls take their captions then.
    void captionsApplied();

public slots:
    void menuExit();
    void menuEnglish() { menuLanguage(0); }
    void menuChinese() { menuLanguage(1); }
    void menuOther() { menuLanguage(2); }

    // Window scaling: true once the design is kept and resizes place the controls.
    bool resizeArmed() const { return resizeArmed_; }
    // Lays the window out by its layouts at the reference size, with the splitters where the
    // operator left them, keeps that as the design, and places the controls for the size now.
    void retakeDesign();

protected:
    void closeEvent(QCloseEvent* e) override;
    void showEvent(QShowEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* e) override;

private:
    void buildMenus();
    void applyMnemonics();
    void buildBody();
    void menuLanguage(int index);
    void setHelpFile();
    void centre();
    // The resize of the client area: the controls by their Tags, then the grids' columns.
    void clientResized();
    void sizeGridColumns();
    QAction* addAction(QMenu* menu, const char* name);
    QMenu* addMenu(QMenu* parentMenu, const char* name);

    ProgramState& state_;
    std::map<QString, QAction*> actions_;
    std::map<QString, QMenu*> menus_;
    std::map<QString, QPushButton*> buttons_;
    std::map<QString, std::function<void()>> handlers_;
    QTreeWidget* tree_ = nullptr;
    QTableView* grid_ = nullptr;
    QTabWidget* tabs_ = nullptr;
    std::function<bool()> pluSaver_;
    std::function<bool()> endHandler_;
    transfer::KVRDataTrans KVRDataTrans1_;
    transfer::FlowState flowState_;
    bool ending_ = false;
    bool resizeArmed_ = false;
    bool retaking_ = false;
    // The PLU list's column widths at the design size.
    QList<int> gridDesignWidths_;
};

// Qt's own texts (the standard buttons Yes, No, Cancel, ...) in the language of the settings:
// Chinese for index 1, Qt's built-in English otherwise. True when a translation is in use.
bool useQtTranslations(int languageIndex);

// A caption as shown on a menu: "&" doubled, so that none of the text's own is taken as a
// mnemonic, and the mnemonic mark before the first character of `used`'s choice.
// The chosen letter is added to `used` (upper case).
QString captionWithMnemonic(const QString& caption, QString& used, const QString& fallback);
// A caption as a name: the mnemonic marks taken out ("&&" stays one "&").
std::string plainCaption(const std::string& caption);

}  // namespace brindale::shell
