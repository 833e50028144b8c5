#include "tree_controller.h"

#include "guard.h"

#include "store/small_record_builder.h"

#include <map>

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QStyle>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>

#include "application.h"
#include "main_window.h"
#include "messages.h"

namespace brindale::shell {

using store::Kind;

namespace {

QString qs(const std::string& s) { return QString::fromStdString(s); }

// A small pictogram drawn in code, for the kinds that the style has no picture of.
QIcon drawnIcon(Kind k) {
    QPixmap pm(16, 16);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    switch (k) {
        case Kind::Store: {  // a shop front: roof and door
            p.setPen(QPen(QColor(30, 70, 140), 1));
            p.setBrush(QColor(70, 130, 200));
            const QPointF roof[] = {{1, 7}, {8, 1.5}, {15, 7}};
            p.drawPolygon(roof, 3);
            p.drawRect(QRectF(3, 7, 10, 7.5));
            p.setBrush(Qt::white);
            p.drawRect(QRectF(6.5, 9.5, 3, 5));
            break;
        }
        case Kind::Dept:  // a filled tag
            p.setPen(QPen(QColor(150, 80, 10), 1));
            p.setBrush(QColor(240, 150, 40));
            p.drawRoundedRect(QRectF(2, 3, 12, 10), 2.5, 2.5);
            break;
        case Kind::MainGroup:  // a smaller round tag
            p.setPen(QPen(QColor(30, 110, 40), 1));
            p.setBrush(QColor(90, 190, 90));
            p.drawEllipse(QRectF(3.5, 3.5, 9, 9));
            break;
        default: break;
    }
    return QIcon(pm);
}

QIcon iconFor(Kind k) {
    QStyle* st = QApplication::style();
    switch (k) {
        case Kind::Root: return st->standardIcon(QStyle::SP_DriveNetIcon);
        case Kind::Section: return st->standardIcon(QStyle::SP_DirIcon);
        case Kind::Machine: return st->standardIcon(QStyle::SP_ComputerIcon);
        case Kind::Search: return st->standardIcon(QStyle::SP_FileDialogContentsView);
        case Kind::Store:
        case Kind::Dept:
        case Kind::MainGroup: {
            static std::map<Kind, QIcon> drawn;
            auto it = drawn.find(k);
            if (it == drawn.end()) it = drawn.emplace(k, drawnIcon(k)).first;
            return it->second;
        }
        default: return {};
    }
}


}  // namespace

TreeController::TreeController(MainWindow& window) : QObject(&window), w_(window), state_(window.state()) {
    setObjectName("treeController");
    // A saved department or main group takes its new binary record at once.
    builder_ = [this](const std::string& table, store::Recordset& rs) {
        store::buildSmallRecord(*state_.codePage, table, rs);
    };
    QTreeWidget* tree = w_.tree();
    connect(tree, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* cur, QTreeWidgetItem*) {
        if (!quiet_ && cur) runGuarded([&] { nodeClick(cur, true); });
    });
    connect(tree, &QTreeWidget::customContextMenuRequested, this, [this, tree](const QPoint& pos) {
        QTreeWidgetItem* item = tree->itemAt(pos);
        QPoint at = pos;
        if (!item) {
            item = tree->currentItem();
            if (item) at = tree->visualItemRect(item).center();
        } else if (item != tree->currentItem()) {
            tree->setCurrentItem(item);
        }
        if (!item) return;
        if (auto* pop = w_.findChild<QMenu*>("popmenu")) pop->popup(tree->viewport()->mapToGlobal(at));
    });
    tree->installEventFilter(this);
    w_.installEventFilter(this);

    // The window knows these commands as implemented from here on; the node click turns them on.
    auto on = [this](const char* name, std::function<void()> f) { w_.setHandler(name, [f] { runGuarded(f); }); };
    const std::pair<const char*, const char*> twins[] = {
        {"menuStore", "popmenuNewStore"}, {"menuSection", "popmenuNewSection"}, {"menuMachine", "popmenuNewMachine"},
        {"menuDept", "popmenuNewDept"},   {"menuMg", "popmenuNewMg"},           {"menuSearch", "popmenuNewSearch"}};
    const Kind kinds[] = {Kind::Store, Kind::Section, Kind::Machine, Kind::Dept, Kind::MainGroup, Kind::Search};
    for (size_t i = 0; i < std::size(twins); ++i) {
        const Kind k = kinds[i];
        on(twins[i].first, [this, k] { newObject(k); });
        // The context menu's entries only forward to the main menu's commands.
        on(twins[i].second, [this, k] { newObject(k); });
    }
    on("menuProperties", [this] { menuProperties(); });
    on("popmenuProperties", [this] { menuProperties(); });
    on("menuDelete", [this] { menuDelete(); });
    on("popmenuDelete", [this] { menuDelete(); });
    on("cmdStore", [this] { cmdStore(); });
    on("cmdData", [this] { cmdData(); });
}

TreeController* TreeController::of(const MainWindow& window) { return window.findChild<TreeController*>("treeController"); }

store::Hierarchy TreeController::hierarchy() const {
    store::Hierarchy h(*state_.Conn);
    h.setRecordBuilder(builder_);
    return h;
}

std::string TreeController::rootKey() const {
    return state_.settings.StoreMode == 1 ? store::rootKey(state_.settings.StoreNameSetting) : std::string();
}

// The caption names new nodes, so a mnemonic mark that the text may carry is left out.
std::string TreeController::menuCaption(const char* name) const {
    return plainCaption(state_.text("frmMain_Menu", name));
}

std::string TreeController::keyOf(const QTreeWidgetItem* item) {
    return item ? item->data(0, Qt::UserRole).toString().toStdString() : std::string();
}

std::string TreeController::selectedKey() const { return keyOf(w_.tree()->currentItem()); }

QTreeWidgetItem* TreeController::findKey(const std::string& key) const {
    if (key.empty()) return nullptr;
    for (QTreeWidgetItemIterator it(w_.tree()); *it; ++it)
        if (keyOf(*it) == key) return *it;
    return nullptr;
}

bool TreeController::selectKey(const std::string& key) {
    QTreeWidgetItem* item = findKey(key);
    if (!item) return false;
    w_.tree()->setCurrentItem(item);  // runs the node click through the tree's signal
    return true;
}

// ---- Building -----------------------------------------------------------------------------------

QTreeWidgetItem* TreeController::addNode(const store::TreeNode& node) {
    QTreeWidgetItem* parent = node.parentKey.empty() ? nullptr : findKey(node.parentKey);
    auto* item = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(w_.tree());
    item->setText(0, qs(node.text));
    item->setData(0, Qt::UserRole, qs(node.key));
    item->setIcon(0, iconFor(node.kind));
    return item;
}

void TreeController::addNodes(const std::vector<store::TreeNode>& nodes) {
    for (const auto& n : nodes) addNode(n);
}

void TreeController::reportProblems(const std::vector<std::string>& problems) {
    if (problems.empty()) return;
    QString text = qs(state_.text("msgbox", "treeOrphans")) + "\n";
    for (size_t i = 0; i < problems.size() && i < 12; ++i) text += qs(problems[i]) + "\n";
    if (problems.size() > 12)
        text += qs(state_.text("msgbox", "treeOrphansMore")).arg(static_cast<qulonglong>(problems.size() - 12)) + "\n";
    Messages::show(text, MsgIcon::Exclamation, MsgButtons::Ok, &w_);
}

void TreeController::buildStoreView() {
    quiet_ = true;
    w_.tree()->clear();
    store::TreeContext ctx;
    ctx.view = 1;
    ctx.storeMode = state_.settings.StoreMode;
    ctx.storeNameSetting = state_.settings.StoreNameSetting;
    std::vector<std::string> known, problems;
    store::Hierarchy h = hierarchy();
    for (const char* t : {"STORE", "SECT", "SCALE"}) addNodes(h.buildTree(t, ctx, known, problems));
    quiet_ = false;
    reportProblems(problems);
}

void TreeController::buildDataView() {
    quiet_ = true;
    w_.tree()->clear();
    store::TreeContext ctx;
    ctx.view = 0;
    ctx.storeMode = state_.settings.StoreMode;
    ctx.storeNameSetting = state_.settings.StoreNameSetting;
    ctx.currentStore = state_.currentStore;
    ctx.storeCaption = menuCaption("menuStore");
    std::vector<std::string> known, problems;
    store::Hierarchy h = hierarchy();
    for (const char* t : {"KVR_20", "KVR_23", "SEARCH"}) addNodes(h.buildTree(t, ctx, known, problems));
    quiet_ = false;
    reportProblems(problems);
}

// ---- Node click ---------------------------------------------------------------------------------

void TreeController::applyStates(const std::string& key, bool hasChildren) {
    store::CommandInput in;
    in.key = key;
    in.view = state_.viewNumber;
    in.hasChildren = hasChildren;
    in.storeMode = state_.settings.StoreMode;
    in.scaleTypeIndex = state_.settings.ScaleTypeIndex;
    in.root = rootKey();
    // A command the window has no handler for stays off whatever the node.
    for (const auto& [name, on] : store::commandStates(in)) w_.setCommandEnabled(qs(name), on);
}

void TreeController::readSelection(const std::string& key) {
    store::ParsedKey p = store::parseKey(key, rootKey());
    state_.currentStore = 0;
    state_.currentSection = 0;
    state_.currentScaleIP = store::kNoMachineAddress;
    state_.currentDept = 0;
    state_.currentMG = 0;
    switch (p.kind) {
        case Kind::Store: state_.currentStore = p.number(0); break;
        case Kind::Section: state_.currentStore = p.number(0); state_.currentSection = p.number(1); break;
        case Kind::Machine:
            state_.currentStore = p.number(0);
            state_.currentSection = p.number(1);
            state_.currentScaleIP = p.address;
            break;
        case Kind::Dept: state_.currentStore = p.number(0); state_.currentDept = p.number(1); break;
        case Kind::MainGroup:
            state_.currentStore = p.number(0);
            state_.currentDept = p.number(1);
            state_.currentMG = p.number(2);
            break;
        case Kind::Search: state_.currentStore = p.number(0); break;
        default: break;
    }
}

void TreeController::nodeClick(QTreeWidgetItem* item, bool ask) {
    QTreeWidget* tree = w_.tree();
    std::string& viewKey = state_.viewNumber == 1 ? state_.selectedKeyStoreView : state_.selectedKeyDataView;
    if (ask && w_.askSavePLU() == 3) {
        // The operator stays on the PLU: the selection goes back.
        quiet_ = true;
        if (QTreeWidgetItem* back = findKey(lastKey_)) tree->setCurrentItem(back);
        quiet_ = false;
        return;
    }
    const std::string key = keyOf(item);
    viewKey = key;
    lastKey_ = key;
    applyStates(key, item && item->childCount() > 0);
    const auto before = std::make_tuple(state_.currentStore, state_.currentSection, state_.currentScaleIP,
                                        state_.currentDept, state_.currentMG);
    readSelection(key);
    const bool changed = before != std::make_tuple(state_.currentStore, state_.currentSection, state_.currentScaleIP,
                                                   state_.currentDept, state_.currentMG);
    if (listener_) listener_(changed);
}

// ---- Views --------------------------------------------------------------------------------------

void TreeController::loadEvent() {
    runGuarded([this] {
        state_.viewNumber = 1;
        buildStoreView();
        w_.tree()->expandAll();
        w_.setCommandEnabled("cmdStore", true);
        if (w_.tree()->topLevelItemCount() == 0) {
            // First run on empty data: store 1 is made at once, through its form.
            quiet_ = true;
            addNode({store::storeKey(1), "", "STORE", Kind::Store});
            quiet_ = false;
            state_.currentStore = 1;
            state_.currentSection = 0;
            state_.currentScaleIP = store::kNoMachineAddress;
            state_.currentDept = 0;
            state_.currentMG = 0;
            records_.store = store::defaultStore(1, menuCaption("menuStore"));
            records_.dept = store::defaultStoreDept(1, menuCaption("menuDept"));
            records_.mainGroup = store::defaultStoreMainGroup(1, menuCaption("menuMg"));
            PropertySession session;
            session.kind = Kind::Store;
            session.isNew = true;
            session.records = &records_;
            // Single store mode must have its store: the form can't be cancelled.
            session.cancellable = state_.settings.StoreMode == 1;
            showForm(Kind::Store, session);
        }
        QTreeWidget* tree = w_.tree();
        if (QTreeWidgetItem* first = tree->topLevelItem(0)) {
            quiet_ = true;
            tree->setCurrentItem(first);
            quiet_ = false;
            nodeClick(first, false);
        } else {
            applyStates("", false);
        }
        state_.selectedKeyDataView = state_.selectedKeyStoreView;
        state_.pluChanged = false;
    });
}

void TreeController::cmdStore() {
    if (w_.askSavePLU() == 3) return;
    if (listReset_) listReset_();
    state_.viewNumber = 1;
    buildStoreView();
    w_.tree()->expandAll();
    QTreeWidgetItem* item = findKey(state_.selectedKeyStoreView);
    if (!item) item = w_.tree()->topLevelItem(0);
    quiet_ = true;
    w_.tree()->setCurrentItem(item);
    quiet_ = false;
    if (item) nodeClick(item, false);
    else applyStates("", false);
}

void TreeController::cmdData() {
    state_.currentTab = 1;
    state_.viewNumber = 0;
    state_.currentSection = 0;
    state_.currentScaleIP = store::kNoMachineAddress;
    state_.currentDept = 0;
    state_.currentMG = 0;
    state_.currentStore = store::parseKey(state_.selectedKeyStoreView, rootKey()).number(0);
    buildDataView();
    w_.tree()->expandAll();
    QTreeWidgetItem* first = w_.tree()->topLevelItem(0);
    quiet_ = true;
    w_.tree()->setCurrentItem(first);
    quiet_ = false;
    if (first) nodeClick(first, false);
    else applyStates("", false);
}

void TreeController::activate() {
    // The main window may be activated while a form is still open (its own activation arriving
    // late): the rebuild waits for the form's return.
    if (treeValid_ || formOpen_ || !state_.Conn) return;  // no connection: the run is ending
    treeValid_ = true;
    const bool storeView = state_.viewNumber == 1;
    const std::string saved = storeView ? state_.selectedKeyStoreView : state_.selectedKeyDataView;
    if (storeView) {
        buildStoreView();
    } else {
        // The data view stays on the store of its own selection, which a store's new number moves.
        store::ParsedKey p = store::parseKey(saved, rootKey());
        state_.currentStore = p.kind != Kind::None && p.kind != Kind::Root
                                  ? p.number(0)
                                  : store::parseKey(state_.selectedKeyStoreView, rootKey()).number(0);
        buildDataView();
    }
    QTreeWidget* tree = w_.tree();
    tree->expandAll();
    QTreeWidgetItem* item = findKey(saved);
    if (!item) item = tree->topLevelItem(0);
    quiet_ = true;
    tree->setCurrentItem(item);
    quiet_ = false;
    if (item) nodeClick(item, false);
    else applyStates("", false);
}

// ---- Commands -----------------------------------------------------------------------------------

bool TreeController::showForm(Kind kind, PropertySession& session, const std::function<void()>& onCancel) {
    treeValid_ = false;
    store::Hierarchy h = hierarchy();
    std::unique_ptr<PropertyForm> form;
    if (kind == Kind::Machine) form = std::make_unique<FrmScProperties>(state_, h, session, &w_);
    else if (kind == Kind::Search) form = std::make_unique<FrmSearch>(state_, h, session, &w_);
    else form = std::make_unique<FrmProperties>(state_, h, session, &w_);
    formOpen_ = true;
    const bool accepted = form->exec() == QDialog::Accepted;
    formOpen_ = false;
    form.reset();
    if (accepted) (state_.viewNumber == 1 ? state_.selectedKeyStoreView : state_.selectedKeyDataView) = session.savedKey;
    else if (onCancel) onCancel();
    activate();
    return accepted;
}

void TreeController::newObject(Kind kind) {
    if (w_.askSavePLU() == 3) return;
    QTreeWidget* tree = w_.tree();
    QTreeWidgetItem* current = tree->currentItem();
    const std::string key = keyOf(current);
    store::Selection sel;
    store::Hierarchy h = hierarchy();
    const int number = h.newNumber(kind, key, sel);

    const char* menu = "";
    Kind parentKind = Kind::None;
    std::string newKey;
    switch (kind) {
        case Kind::Store: menu = "menuStore"; parentKind = Kind::Root; newKey = store::storeKey(number); break;
        case Kind::Section:
            menu = "menuSection";
            parentKind = Kind::Store;
            newKey = store::sectionKey(sel.store, number);
            break;
        case Kind::Machine:
            menu = "menuMachine";
            parentKind = Kind::Section;
            newKey = store::machineKey(sel.store, sel.section, store::kNoMachineAddress);
            break;
        case Kind::Dept: menu = "menuDept"; parentKind = Kind::Store; newKey = store::deptKey(sel.store, number); break;
        case Kind::MainGroup:
            menu = "menuMg";
            parentKind = Kind::Dept;
            newKey = store::mainGroupKey(sel.store, sel.dept, number);
            break;
        case Kind::Search:
            menu = "menuSearch";
            parentKind = Kind::Store;
            newKey = store::searchKey(sel.store, number);
            break;
        default: return;
    }
    const std::string caption = menuCaption(menu);
    // The provisional node shows while the form is open.
    QTreeWidgetItem* provisional = nullptr;
    if (current && store::kindOfKey(key, rootKey()) == parentKind) {
        quiet_ = true;
        provisional = new QTreeWidgetItem(current);
        provisional->setText(0, qs(caption + std::to_string(number)));
        provisional->setData(0, Qt::UserRole, qs(newKey));
        provisional->setIcon(0, iconFor(kind));
        current->setExpanded(true);
        tree->setCurrentItem(provisional);
        quiet_ = false;
    }

    state_.currentStore = sel.store;
    state_.currentSection = sel.section;
    state_.currentScaleIP = sel.address;
    state_.currentDept = sel.dept;
    state_.currentMG = 0;
    switch (kind) {
        case Kind::Store:
            records_.store = store::defaultStore(number, caption);
            records_.dept = store::defaultStoreDept(number, menuCaption("menuDept"));
            records_.mainGroup = store::defaultStoreMainGroup(number, menuCaption("menuMg"));
            break;
        case Kind::Section: records_.section = store::defaultSection(sel.store, number, caption); break;
        case Kind::Machine: records_.machine = store::defaultMachine(sel.store, sel.section); break;
        case Kind::Dept: records_.dept = store::defaultDept(sel.store, number, caption); break;
        case Kind::MainGroup: records_.mainGroup = store::defaultMainGroup(sel.store, sel.dept, number, caption); break;
        case Kind::Search: records_.search = store::defaultSearch(sel.store, number, caption); break;
        default: break;
    }
    PropertySession session;
    session.kind = kind;
    session.isNew = true;
    session.selection = sel;
    session.records = &records_;
    const std::string last = key;
    showForm(kind, session, [&] {
        // A cancel takes the provisional node away again and goes back to the node before.
        quiet_ = true;
        delete provisional;
        if (QTreeWidgetItem* back = findKey(last)) tree->setCurrentItem(back);
        quiet_ = false;
    });
}

void TreeController::menuProperties() {
    if (w_.askSavePLU() == 3) return;
    const std::string key = selectedKey();
    store::ParsedKey p = store::parseKey(key, rootKey());
    if (p.kind == Kind::None || p.kind == Kind::Root) return;  // the root has no properties
    store::Selection sel;
    sel.store = p.number(0);
    switch (p.kind) {
        case Kind::Section: sel.section = p.number(1); break;
        case Kind::Machine: sel.section = p.number(1); sel.address = p.address; break;
        case Kind::Dept: sel.dept = p.number(1); break;
        case Kind::MainGroup: sel.dept = p.number(1); sel.mainGroup = p.number(2); break;
        case Kind::Search: sel.search = p.number(1); break;
        default: break;
    }
    store::Hierarchy h = hierarchy();
    if (!h.readObject(p.kind, sel, records_)) {
        Messages::show(qs(state_.text("msgbox", "rowMissing")).arg(qs(key), qs(store::tableOf(p.kind))),
                       MsgIcon::Exclamation, MsgButtons::Ok, &w_);
        return;
    }
    PropertySession session;
    session.kind = p.kind;
    session.isNew = false;
    session.selection = sel;
    session.records = &records_;
    showForm(p.kind, session);
}

void TreeController::menuDelete() {
    if (w_.askSavePLU() == 3) return;
    if (Messages::key(state_, "areyousure", MsgIcon::Question, MsgButtons::YesNo, &w_) != MsgResult::Yes) return;
    QTreeWidget* tree = w_.tree();
    QTreeWidgetItem* item = tree->currentItem();
    const std::string key = keyOf(item);
    store::ParsedKey p = store::parseKey(key, rootKey());
    if (!item || p.kind == Kind::None || p.kind == Kind::Root) return;
    store::Selection sel;
    sel.store = p.number(0);
    sel.address = store::kNoMachineShort;
    switch (p.kind) {
        case Kind::Section: sel.section = p.number(1); break;
        case Kind::Machine: sel.section = p.number(1); sel.address = p.address; break;
        case Kind::Dept: sel.dept = p.number(1); break;
        case Kind::MainGroup: sel.dept = p.number(1); sel.mainGroup = p.number(2); break;
        case Kind::Search: sel.search = p.number(1); break;
        default: break;
    }
    store::Hierarchy h = hierarchy();
    h.deleteObject(p.kind, sel);
    if (p.kind == Kind::Store && state_.viewNumber == 1) {
        // A store goes with its departments and main groups.
        h.deleteObject(Kind::Dept, sel, true);
        h.deleteObject(Kind::MainGroup, sel, true);
    }
    quiet_ = true;
    delete item;
    QTreeWidgetItem* first = tree->topLevelItem(0);
    tree->setCurrentItem(first);
    quiet_ = false;
    if (first) nodeClick(first, false);
    else applyStates("", false);
}

// ---- Keyboard and activation --------------------------------------------------------------------

bool TreeController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == w_.tree() && event->type() == QEvent::KeyPress) {
        auto* k = static_cast<QKeyEvent*>(event);
        if (k->key() == Qt::Key_Return || k->key() == Qt::Key_Enter) {
            if (QAction* a = w_.action("menuProperties"); a && a->isEnabled()) a->trigger();
            return true;
        }
        if (k->key() == Qt::Key_Delete) {
            if (QAction* a = w_.action("menuDelete"); a && a->isEnabled()) a->trigger();
            return true;
        }
    }
    if (watched == &w_ && event->type() == QEvent::WindowActivate) runGuarded([this] { activate(); });
    return QObject::eventFilter(watched, event);
}

}  // namespace brindale::shell
