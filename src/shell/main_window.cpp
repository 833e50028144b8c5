#include "main_window.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QLocale>
#include <QRegularExpression>
#include <QMenuBar>
#include <QPushButton>
#include <QScreen>
#include <QShowEvent>
#include <QTableWidget>
#include <QShortcut>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QStandardItemModel>
#include <QTableView>
#include <QTranslator>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "form_scaling.h"
#include "guard.h"
#include "messages.h"
#include "store/fatal_error.h"
#include "transfer/ui/progress_dialog.h"
#include "paths.h"
#include "plu/ui/plu_editor_window.h"

namespace brindale::shell {

namespace {

QString qs(const std::string& s) { return QString::fromStdString(s); }

// Buttons of the main window and the key of their caption in frmMain_cmd.
struct ButtonDef {
    const char* name;
    const char* key;
};
constexpr ButtonDef kTreeButtons[] = {{"cmdStore", "MainCmdStroe"}, {"cmdData", "MainCmdData"}};
constexpr ButtonDef kListButtons[] = {
    {"cmdUp", "MainCmdUP"},           {"cmdDown", "MainCmdDown"},       {"cmdSelectAll", "MainCmdSelectAll"},
    {"cmdClearAll", "MainCmdClearALL"}, {"cmdDelAll", "MainCmdDelAll"}, {"cmdSendAll", "MainCmdSendAll"},
    {"cmdDel", "MainCmdDel"},         {"cmdUpload", "MainCmdUpLoad"},   {"cmdReflesh", "MainCmdReflesh"},
};
constexpr ButtonDef kEditorButtons[] = {
    {"cmdNew", "MainCmdNew"},       {"cmdEdit", "MainCmdEdit"},     {"cmdUpdate", "MainCmdUpdate"},
    {"cmdCancel", "MainCmdCancel"}, {"cmdDlelte", "MainCmdDelete"}, {"cmdCopy", "MainCmdCopy"},
    {"cmdDownload", "MainCmdDownLoad"},
};
// Headings of the PLU list, in column order.
constexpr const char* kGridKeys[] = {"MainGrdNo", "MainGrdPLU", "MainGrdItem", "MainGrdName", "MainGrdUP",
                                     "MainGrdSelected"};
}  // namespace

MainWindow::MainWindow(ProgramState& state, QWidget* parent) : QMainWindow(parent), state_(state) {
    setObjectName("frmMain");
    setWindowTitle("Brindale");
    buildMenus();
    buildBody();
    resize(1180, 760);
    transfer::ui::useProgressWindow(KVRDataTrans1_, this);
}

bool MainWindow::runTransfer(int mode, const std::vector<std::string>& identifiers, int store, int section) {
    const std::string language = state_.sectionText("ActX_KVR");
    try {
        transfer::setTransferTarget(KVRDataTrans1_, state_.databasePath(), store, section, mode);
    } catch (const transfer::TransferOverflow&) {
        Messages::show(qs(state_.text("msgbox", "storeOverflow")).arg(store).arg(section), MsgIcon::Exclamation,
                       MsgButtons::Ok, this);
        return false;
    }
    QApplication::processEvents();
    transfer::startTransfer(KVRDataTrans1_, identifiers, language);
    return true;
}

QMenu* MainWindow::addMenu(QMenu* parentMenu, const char* name) {
    QMenu* m = parentMenu ? parentMenu->addMenu(name) : menuBar()->addMenu(name);
    m->setObjectName(name);
    m->menuAction()->setObjectName(name);
    menus_[name] = m;
    return m;
}

QAction* MainWindow::addAction(QMenu* menu, const char* name) {
    QAction* a = menu->addAction(name);
    a->setObjectName(name);
    actions_[name] = a;
    return a;
}

void MainWindow::buildMenus() {
    QMenu* file = addMenu(nullptr, "menuFile");
    QMenu* fileNew = addMenu(file, "menuNew");
    for (const char* n : {"menuStore", "menuSection", "menuMachine", "menuDept", "menuMg", "menuSearch", "menuPlu"})
        addAction(fileNew, n);
    addAction(file, "menuProperties");
    addAction(file, "menuDelete");
    addAction(file, "menuDeletePlu");
    file->addSeparator();
    addAction(file, "menuExit");

    QMenu* edit = addMenu(nullptr, "menuEdit");
    for (const char* n : {"menuEditLabelFormat", "menuEditReportFormat", "menuEditPresetKey", "menuEditFlexiBarcode",
                          "menuScrollMSG", "menuEditImage", "menuEditLogo", "menuEditOtherFiles"})
        addAction(edit, n);

    QMenu* setting = addMenu(nullptr, "menuSetting");
    addAction(setting, "menuDataFormat");
    QMenu* language = addMenu(setting, "menuLanguage");
    auto* en = addAction(language, "menuEnglish");
    auto* cn = addAction(language, "menuChinese");
    auto* other = addAction(language, "menuOthers");
    for (QAction* a : {en, cn, other}) a->setCheckable(true);
    language->addSeparator();
    addAction(language, "menuLanguageTranslate");

    QMenu* tool = addMenu(nullptr, "menuTool");
    for (const char* n : {"menuDownLoad", "menuDownloadDept", "menuDownloadMG", "menuUpLoad", "menuExportReport",
                          "menuImportOrExport"})
        addAction(tool, n);
    tool->addSeparator();
    addAction(tool, "menuTransferLog");

    QMenu* help = addMenu(nullptr, "menuHelp");
    addAction(help, "menuSoftwareHelp");
    addAction(help, "menuSoftwareVersion");

    // The tree's context menu: its entries only forward to the main menu's commands.
    auto* pop = new QMenu(this);
    pop->setObjectName("popmenu");
    menus_["popmenu"] = pop;
    for (const char* n : {"popmenuNewStore", "popmenuNewSection", "popmenuNewMachine", "popmenuNewDept",
                          "popmenuNewMg", "popmenuNewSearch"})
        addAction(pop, n);
    pop->addSeparator();
    addAction(pop, "popmenuProperties");
    addAction(pop, "popmenuDelete");
    pop->addSeparator();
    addAction(pop, "popmenuDownloadDept");
    addAction(pop, "popmenuDownloadMG");

    setHandler("menuExit", [this] { menuExit(); });
    setHandler("menuEnglish", [this] { menuEnglish(); });
    setHandler("menuChinese", [this] { menuChinese(); });
    setHandler("menuOthers", [this] { menuOther(); });
    // Commands whose windows and flows are not part of this build yet stay visible but off; the
    // tree turns on those that have a handler when they apply.
    for (auto& [name, a] : actions_) a->setEnabled(implemented(name));

    // F10 opens the menu bar at its first menu, as on every desktop.
    auto* f10 = new QShortcut(QKeySequence(Qt::Key_F10), this);
    f10->setObjectName("shortcutMenuBar");
    connect(f10, &QShortcut::activated, this, [this] {
        if (QMenu* m = menu("menuFile")) {
            menuBar()->setActiveAction(m->menuAction());
        }
    });
}

void MainWindow::setHandler(const QString& name, std::function<void()> handler) {
    const bool first = !implemented(name);
    handlers_[name] = std::move(handler);
    if (!first) return;
    // The connection calls whatever handler is installed at the time.
    auto run = [this, name] {
        auto it = handlers_.find(name);
        if (it != handlers_.end() && it->second) it->second();
    };
    if (auto it = actions_.find(name); it != actions_.end()) connect(it->second, &QAction::triggered, this, run);
    else if (auto b = buttons_.find(name); b != buttons_.end()) connect(b->second, &QPushButton::clicked, this, run);
}

void MainWindow::setCommandEnabled(const QString& name, bool on) {
    on = on && implemented(name);
    if (auto it = actions_.find(name); it != actions_.end()) it->second->setEnabled(on);
    else if (auto b = buttons_.find(name); b != buttons_.end()) b->second->setEnabled(on);
}

QStringList MainWindow::commandNames() const {
    QStringList names;
    for (const auto& [name, a] : actions_) names << name;
    for (const auto& [name, b] : buttons_) names << name;
    return names;
}

QMenu* MainWindow::menu(const QString& name) const {
    auto it = menus_.find(name);
    return it != menus_.end() ? it->second : nullptr;
}

void MainWindow::applyMnemonics() {
    // Siblings share one set of letters: the top menus, and the entries of each menu.
    auto group = [](const QList<QAction*>& entries) {
        QString used;
        for (QAction* a : entries) {
            if (a->isSeparator()) continue;
            QString fallback = a->objectName();
            fallback.remove(QRegularExpression("^(pop)?menu"));
            a->setText(captionWithMnemonic(a->text(), used, fallback));
        }
    };
    group(menuBar()->actions());
    for (const auto& [name, m] : menus_) group(m->actions());
}

void MainWindow::buildBody() {
    auto* central = new QWidget(this);
    central->setObjectName("centralWidget");
    auto* split = new QSplitter(Qt::Horizontal, central);
    split->setObjectName("splitMain");
    auto* outer = new QHBoxLayout(central);
    outer->setContentsMargins(6, 6, 6, 6);
    outer->addWidget(split);

    // Left: the two views of the tree.
    auto* left = new QWidget(split);
    auto* leftLay = new QVBoxLayout(left);
    leftLay->setContentsMargins(0, 0, 0, 0);
    auto* viewButtons = new QHBoxLayout;
    for (const auto& b : kTreeButtons) {
        auto* btn = new QPushButton(b.key, left);
        btn->setObjectName(b.name);
        btn->setEnabled(false);
        buttons_[b.name] = btn;
        viewButtons->addWidget(btn);
    }
    leftLay->addLayout(viewButtons);
    tree_ = new QTreeWidget(left);
    tree_->setObjectName("treeStoreAndData");
    tree_->setHeaderHidden(true);
    tree_->setContextMenuPolicy(Qt::CustomContextMenu);
    leftLay->addWidget(tree_);

    // Right: the PLU list above the editor.
    auto* right = new QSplitter(Qt::Vertical, split);
    right->setObjectName("splitPLU");
    auto* listBox = new QWidget(right);
    auto* listLay = new QVBoxLayout(listBox);
    listLay->setContentsMargins(0, 0, 0, 0);
    grid_ = new QTableView(listBox);
    grid_->setObjectName("MSHFlexGridPLU");
    // Until the list brings its model, the headings stand on an empty one.
    grid_->setModel(new QStandardItemModel(0, static_cast<int>(std::size(kGridKeys)), grid_));
    grid_->setSelectionBehavior(QAbstractItemView::SelectRows);
    grid_->setSelectionMode(QAbstractItemView::SingleSelection);
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid_->verticalHeader()->setVisible(false);
    grid_->horizontalHeader()->setStretchLastSection(false);
    grid_->horizontalHeader()->setSectionResizeMode(3, QHeaderView::Stretch);
    listLay->addWidget(grid_);
    auto* listButtons = new QHBoxLayout;
    for (const auto& b : kListButtons) {
        auto* btn = new QPushButton(b.key, listBox);
        btn->setObjectName(b.name);
        btn->setEnabled(false);
        buttons_[b.name] = btn;
        listButtons->addWidget(btn);
    }
    listButtons->addStretch();
    listLay->addLayout(listButtons);

    auto* editorBox = new QWidget(right);
    auto* editorLay = new QVBoxLayout(editorBox);
    editorLay->setContentsMargins(0, 0, 0, 0);
    // The editor of the current PLU: its pages, controls and commands are its own.
    auto* editor = new plu::ui::PluEditor(state_, editorBox);
    tabs_ = editor;
    editorLay->addWidget(tabs_);
    auto* editorButtons = new QHBoxLayout;
    for (const auto& b : kEditorButtons) {
        auto* btn = new QPushButton(b.key, editorBox);
        btn->setObjectName(b.name);
        btn->setEnabled(false);
        buttons_[b.name] = btn;
        editorButtons->addWidget(btn);
    }
    editorButtons->addStretch();
    editorLay->addLayout(editorButtons);
    editor->attach(*this);

    split->setStretchFactor(0, 1);
    split->setStretchFactor(1, 3);
    split->setSizes({280, 880});
    right->setSizes({330, 390});
    setCentralWidget(central);
    // The client area's resizes drive the scaling; a moved splitter is a new design.
    central->installEventFilter(this);
    for (QSplitter* s : {split, right})
        connect(s, &QSplitter::splitterMoved, this, [this] { retakeDesign(); });
    statusBar()->setObjectName("statusBar");
}

QAction* MainWindow::action(const QString& name) const {
    auto it = actions_.find(name);
    if (it != actions_.end()) return it->second;
    auto m = menus_.find(name);
    return m != menus_.end() ? m->second->menuAction() : nullptr;
}

QPushButton* MainWindow::button(const QString& name) const {
    auto it = buttons_.find(name);
    return it != buttons_.end() ? it->second : nullptr;
}

void MainWindow::setPLUCaptions() {
    static_cast<plu::ui::PluEditor*>(tabs_)->setCaptions();
}

void MainWindow::setMainCaptions() {
    const auto& menuText = state_.lang.section("frmMain_Menu");
    for (auto& [name, m] : menus_)
        if (name != "popmenu") m->setTitle(qs(menuText.text(name.toStdString())));
    for (auto& [name, a] : actions_) a->setText(qs(menuText.text(name.toStdString())));
    const auto& cmdText = state_.lang.section("frmMain_cmd");
    for (const auto& b : kTreeButtons) buttons_[b.name]->setText(qs(cmdText.text(b.key)));
    for (const auto& b : kListButtons) buttons_[b.name]->setText(qs(cmdText.text(b.key)));
    for (const auto& b : kEditorButtons) buttons_[b.name]->setText(qs(cmdText.text(b.key)));
    const auto& gridText = state_.lang.section("frmMain_flexgrid");
    if (QAbstractItemModel* m = grid_->model())
        for (int i = 0; i < static_cast<int>(std::size(kGridKeys)); ++i)
            m->setHeaderData(i, Qt::Horizontal, qs(gridText.text(kGridKeys[i])));
    setPLUCaptions();
    applyMnemonics();
    action("menuEnglish")->setChecked(state_.settings.LanguageIndex == 0);
    action("menuChinese")->setChecked(state_.settings.LanguageIndex == 1);
    action("menuOthers")->setChecked(state_.settings.LanguageIndex == 2);
    emit captionsApplied();
}

void MainWindow::setHelpFile() {
    state_.helpFile = state_.path(state_.settings.LanguageIndex == 1 ? kHelpFileChinese : kHelpFileEnglish);
}

void MainWindow::centre() {
    if (QScreen* s = QApplication::primaryScreen()) {
        QRect g = s->availableGeometry();
        move(g.left() + (g.width() - frameGeometry().width()) / 2,
             g.top() + (g.height() - frameGeometry().height()) / 2);
    }
}

void MainWindow::loadEvent() {
    useQtTranslations(state_.settings.LanguageIndex);
    state_.currentTab = 1;
    state_.selectedGridRow = 0;
    setHelpFile();
    setMainCaptions();
    prepareForm(this);
    centre();
    tree_->expandAll();
    state_.pluChanged = false;
    statusBar()->showMessage(qs(state_.databasePath()));
}

int MainWindow::askSavePLU() {
    if (!state_.pluChanged) return 2;
    switch (Messages::key(state_, "updatePLU", MsgIcon::Question, MsgButtons::YesNoCancel, this)) {
        case MsgResult::Yes:
            if (pluSaver_ && pluSaver_()) {
                state_.pluChanged = false;
                return 1;
            }
            return 3;  // the save was refused; the operator stays on the PLU
        case MsgResult::No:
            state_.pluChanged = false;
            return 2;
        default:
            return 3;
    }
}

void MainWindow::menuLanguage(int index) {
    if (askSavePLU() == 3) {
        // Nothing changes, not even the check mark that the click toggled.
        setMainCaptions();
        return;
    }
    // The file gets what it holds with the new language: after an OK of the data format dialog
    // that is what the dialog wrote, not the variables of the run.
    const Settings before = state_.fileSettings();
    Settings next = before;
    next.LanguageIndex = index;
    try {
        writeSettings(state_.path(kSettingsFile), next);
    } catch (const FatalError& e) {
        // The file is as it was: the language stays too, and the operator learns why.
        setMainCaptions();
        Messages::show(qs(state_.text("msgbox", "settingsNotSaved")).arg(qs(e.what())), MsgIcon::Exclamation,
                       MsgButtons::Ok, this);
        return;
    }
    if (state_.writtenSettings) state_.writtenSettings->LanguageIndex = index;
    const int oldIndex = state_.settings.LanguageIndex;
    const LanguageSet oldTables = state_.lang;
    action("menuEnglish")->setChecked(index == 0);
    action("menuChinese")->setChecked(index == 1);
    action("menuOthers")->setChecked(index == 2);
    state_.settings.LanguageIndex = index;
    setEnabled(false);
    try {
        changeLanguage(index);
    } catch (const FatalError& e) {
        // The new language's tables are damaged (a missing section or key): the run goes on in the
        // old language, and the file says so again.
        state_.lang = oldTables;
        state_.settings.LanguageIndex = oldIndex;
        if (state_.writtenSettings) state_.writtenSettings->LanguageIndex = oldIndex;
        state_.prepareCodec();
        useQtTranslations(oldIndex);
        setMainCaptions();
        setEnabled(true);
        try {
            Settings back = before;
            back.LanguageIndex = oldIndex;
            writeSettings(state_.path(kSettingsFile), back);
        } catch (const FatalError&) {
            // The next start reads the new language's number and reports the damage itself.
        }
        Messages::show(qs(state_.text("msgbox", "languageFailed")).arg(qs(e.what())), MsgIcon::Exclamation,
                       MsgButtons::Ok, this);
        return;
    }
    setEnabled(true);
    setHelpFile();
}

void MainWindow::changeLanguage(int index) {
    state_.settings.LanguageIndex = index;
    state_.lang.loadAll(state_.appDir, state_.settings.LanguageName());
    state_.prepareCodec();  // the barcode lists come from the new language's block
    useQtTranslations(index);
    setMainCaptions();
    // New captions have other lengths: the layouts give the design again.
    retakeDesign();
}

void MainWindow::showEvent(QShowEvent* e) {
    QMainWindow::showEvent(e);
    if (resizeArmed_ || e->spontaneous()) return;
    // The list and the editor bring controls of their own after the load: they take the
    // character set too.
    prepareForm(this);
    // The design is what the layouts give at the size the window opens with; from here on the
    // resizes place the controls.
    layOutNow(this);
    saveFormGeometry(this, state_.scaleReference);
    // The window may now be made smaller than the layouts would have allowed: the controls
    // shrink with it.
    centralWidget()->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    if (QAbstractItemModel* m = grid_->model()) {
        gridDesignWidths_.clear();
        for (int i = 0; i < m->columnCount(); ++i) gridDesignWidths_ << grid_->columnWidth(i);
    }
    resizeArmed_ = true;
}

bool MainWindow::eventFilter(QObject* watched, QEvent* e) {
    if (watched == centralWidget() && e->type() == QEvent::Resize && resizeArmed_ && !retaking_) clientResized();
    return QMainWindow::eventFilter(watched, e);
}

void MainWindow::clientResized() {
    resizeForm(this, state_.scaleReference);
    sizeGridColumns();
}

void MainWindow::sizeGridColumns() {
    const ScaleFactors f =
        factorsFor(state_.scaleReference, centralWidget()->width(), centralWidget()->height());
    auto* header = grid_->horizontalHeader();
    for (int i = 0; i < gridDesignWidths_.size() && i < header->count(); ++i)
        if (header->sectionResizeMode(i) != QHeaderView::Stretch)
            grid_->setColumnWidth(i, static_cast<int>(gridDesignWidths_[i] * f.x + 0.5));
    // The nutrition grid: the caption and the value share most of the width.
    if (auto* nutri = tabs_->findChild<QTableWidget*>("GridNutri"); nutri && nutri->columnCount() >= 2) {
        nutri->setColumnWidth(0, nutri->width() * 2 / 5);
        nutri->setColumnWidth(1, static_cast<int>(nutri->width() * 2.85 / 5));
    }
}

void MainWindow::retakeDesign() {
    if (!resizeArmed_ || retaking_) return;
    retaking_ = true;
    QWidget* client = centralWidget();
    const QSize now = client->size();
    ScaleReference& ref = state_.scaleReference;
    const ScaleFactors f = factorsFor(ref, now.width(), now.height());
    // The splitters keep the operator's proportions at the reference size.
    std::vector<std::pair<QSplitter*, QList<int>>> splits;
    for (QSplitter* s : client->findChildren<QSplitter*>()) {
        const double k = s->orientation() == Qt::Horizontal ? f.x : f.y;
        QList<int> sizes;
        for (int v : s->sizes()) sizes << (k > 0 ? static_cast<int>(v / k + 0.5) : v);
        splits.emplace_back(s, sizes);
    }
    // Back to the design font, so that the layouts measure the captions as designed.
    const double designFont = fontSizeFor(ref, ref.height);
    for (QWidget* w : scaledControls(this))
        if (designFont > 0 && w->font().pointSizeF() != designFont) {
            QFont font = w->font();
            font.setPointSizeF(designFont);
            w->setFont(font);
        }
    setLayoutsEnabled(this, true);
    client->resize(ref.width, ref.height);
    client->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    for (auto& [s, sizes] : splits) s->setSizes(sizes);
    layOutNow(this);
    saveFormGeometry(this, ref);
    client->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    client->resize(now);
    retaking_ = false;
    clientResized();
}

void MainWindow::menuExit() {
    if (askSavePLU() == 3) return;
    close();
}

void MainWindow::closeEvent(QCloseEvent* e) {
    if (ending_) {
        e->accept();
        return;
    }
    ending_ = true;
    if (endHandler_ && !endHandler_()) {
        ending_ = false;
        e->ignore();
        return;
    }
    e->accept();
}

bool useQtTranslations(int languageIndex) {
    static QTranslator* current = nullptr;
    if (current) {
        QCoreApplication::removeTranslator(current);
        delete current;
        current = nullptr;
    }
    // Standard and Other are English as far as Qt's own buttons go.
    if (languageIndex != 1 || !QCoreApplication::instance()) return false;
    auto* t = new QTranslator;
    if (!t->load(QLocale(QLocale::Chinese, QLocale::China), "qtbase", "_",
                 QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        delete t;
        return false;
    }
    QCoreApplication::installTranslator(t);
    current = t;
    return true;
}

QString captionWithMnemonic(const QString& caption, QString& used, const QString& fallback) {
    auto usable = [&used](QChar c) {
        return c.unicode() < 128 && c.isLetterOrNumber() && !used.contains(c.toUpper());
    };
    // Word beginnings first, then any letter of the caption.
    int at = -1;
    for (int i = 0; i < caption.size() && at < 0; ++i)
        if ((i == 0 || !caption[i - 1].isLetterOrNumber()) && usable(caption[i])) at = i;
    for (int i = 0; i < caption.size() && at < 0; ++i)
        if (usable(caption[i])) at = i;
    QString out;
    for (int i = 0; i < caption.size(); ++i) {
        if (i == at) out += '&';
        out += caption[i];
        if (caption[i] == '&') out += '&';
    }
    if (at >= 0) {
        used += caption[at].toUpper();
        return out;
    }
    // A caption without a free Latin letter (Chinese) takes one in brackets after it, as such
    // programs do: from the control's name, else the first free letter.
    const QString pool = fallback + "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    for (QChar c : pool)
        if (usable(c)) {
            used += c.toUpper();
            return out + "(&" + c.toUpper() + ")";
        }
    return out;
}

std::string plainCaption(const std::string& caption) {
    std::string out;
    for (size_t i = 0; i < caption.size(); ++i) {
        if (caption[i] == '&') {
            if (i + 1 < caption.size() && caption[i + 1] == '&') out += '&', ++i;
            continue;
        }
        out += caption[i];
    }
    return out;
}

}  // namespace brindale::shell
