#include "plu_list.h"

#include "plu_editor_window.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QShortcut>
#include <QStatusBar>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>
#include <optional>
#include <unordered_map>

#include "plu/plu_list_query.h"
#include "shell/guard.h"
#include "shell/main_window.h"
#include "shell/messages.h"
#include "shell/tree_controller.h"
#include "store/hierarchy.h"
#include "store/rebuild.h"
#include "store/recordset.h"

namespace brindale::plu::ui {

using shell::Messages;
using shell::MsgButtons;
using shell::MsgIcon;
using shell::MsgResult;

namespace {

// Long walks let the window repaint this often, not after every row.
constexpr qint64 kRepaintMs = 50;

constexpr const char* kGridKeys[] = {"MainGrdNo", "MainGrdPLU", "MainGrdItem", "MainGrdName", "MainGrdUP",
                                     "MainGrdSelected"};

// The commands that act on the marked rows of KVR_25 (sending them, deleting them on the scales).
// The commands that send or delete the marked rows; the single-PLU download needs a current row.
constexpr const char* kSelectionCommands[] = {"cmdSendAll", "menuDownLoad", "cmdDel", "menuDeletePlu"};

bool allDigits(const QString& s) {
    if (s.isEmpty()) return false;
    for (QChar c : s)
        if (c < '0' || c > '9') return false;
    return true;
}

}  // namespace

PluList::PluList(shell::MainWindow& window, shell::TreeController& tree)
    : QObject(&window), w_(window), tree_(tree), state_(window.state()), view_(window.pluGrid()) {
    setObjectName("pluList");
    model_ = new PluListModel(state_, this);
    QAbstractItemModel* placeholder = view_->model();
    view_->setModel(model_);
    if (placeholder && placeholder->parent() == view_) placeholder->deleteLater();
    // Fixed row heights and column widths: the view then asks only for the rows it shows.
    view_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    view_->verticalHeader()->setDefaultSectionSize(view_->fontMetrics().height() + 6);
    QHeaderView* h = view_->horizontalHeader();
    h->setSectionResizeMode(QHeaderView::Interactive);
    h->setSectionResizeMode(PluListModel::ColName, QHeaderView::Stretch);
    h->resizeSection(PluListModel::ColNo, 60);
    h->resizeSection(PluListModel::ColPLU, 70);
    h->resizeSection(PluListModel::ColItem, 90);
    h->resizeSection(PluListModel::ColPrice, 90);
    h->resizeSection(PluListModel::ColSelected, 40);
    view_->setTabKeyNavigation(false);

    // The find bar above the list.
    QWidget* box = view_->parentWidget();
    auto* bar = new QHBoxLayout;
    findLabel_ = new QLabel(box);
    findLabel_->setObjectName("lblFind");
    find_ = new QLineEdit(box);
    find_->setObjectName("txtFind");
    find_->setClearButtonEnabled(true);
    findLabel_->setBuddy(find_);
    findState_ = new QLabel(box);
    findState_->setObjectName("lblFindState");
    findState_->hide();
    bar->addWidget(findLabel_);
    bar->addWidget(find_, 1);
    bar->addWidget(findState_, 2);
    if (auto* lay = qobject_cast<QVBoxLayout*>(box->layout())) lay->insertLayout(0, bar);
    find_->installEventFilter(this);
    view_->installEventFilter(this);
    auto* ctrlF = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_F), &w_);
    ctrlF->setObjectName("shortcutFind");
    connect(ctrlF, &QShortcut::activated, this, [this] {
        find_->setFocus(Qt::ShortcutFocusReason);
        find_->selectAll();
    });
    connect(find_, &QLineEdit::textEdited, this, [this](const QString& text) {
        shell::runGuarded([&] {
            if (w_.askSavePLU() == 3) {
                // The operator stays on the PLU: the find text goes back.
                QSignalBlocker b(find_);
                find_->setText(findText_);
                return;
            }
            find(text);
        });
    });

    connect(view_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& now, const QModelIndex&) {
                if (quiet_) return;
                shell::runGuarded([&] { moveTo(now.isValid() ? now.row() : -1); });
            });
    // The model is reset with each query; the selection model stays the same object.
    connect(view_, &QTableView::clicked, this, [this](const QModelIndex& index) {
        if (index.column() == PluListModel::ColSelected && index.row() == currentRow_)
            shell::runGuarded([this] { togglePLUSelection(); });
    });

    auto handler = [this](void (PluList::*f)()) { return [this, f] { shell::runGuarded([this, f] { (this->*f)(); }); }; };
    w_.setHandler("cmdUp", handler(&PluList::cmdUp));
    w_.setHandler("cmdDown", handler(&PluList::cmdDown));
    w_.setHandler("cmdSelectAll", handler(&PluList::cmdSelectAll));
    w_.setHandler("cmdClearAll", handler(&PluList::cmdClearAll));
    w_.setHandler("cmdDelAll", handler(&PluList::cmdDelAll));
    w_.setHandler("cmdDlelte", handler(&PluList::deletePLU));
    w_.setHandler("cmdCopy", handler(&PluList::copyPLU));
    w_.setHandler("cmdReflesh", handler(&PluList::cmdReflesh));

    tree_.setSelectionListener([this](bool changed) { nodeSelected(changed); });
    tree_.setListReset([this] {
        hasNode_ = false;
        clearCopyFlag();
    });
    connect(&w_, &shell::MainWindow::captionsApplied, this, [this] { applyCaptions(); });
    applyCaptions();
    enablePLUButtons();
}

PluList* PluList::of(const shell::MainWindow& window) { return window.findChild<PluList*>("pluList"); }

QString PluList::text(const char* section, const char* key) const {
    return QString::fromStdString(state_.text(section, key));
}

void PluList::applyCaptions() {
    for (int i = 0; i < PluListModel::ColumnCount; ++i)
        model_->setHeaderData(i, Qt::Horizontal, text("frmMain_flexgrid", kGridKeys[i]));
    findLabel_->setText(text("frmMain_flexgrid", "MainFind"));
    find_->setToolTip(text("frmMain_flexgrid", "MainFindTip"));
    updateFindState();
}

long PluList::totalCount() const { return state_.RsPLU ? state_.RsPLU->recordCount() : 0; }

// ---- Filling ------------------------------------------------------------------------------------

void PluList::nodeSelected(bool changed) {
    store::ParsedKey p = store::parseKey(
        tree_.selectedKey(),
        state_.settings.StoreMode == 1 ? store::rootKey(state_.settings.StoreNameSetting) : std::string());
    std::tuple<int, int, int> node{-1, 0, 0};
    switch (p.kind) {
        case store::Kind::Store:
        case store::Kind::Section:
        case store::Kind::Machine: node = {NodeStore, p.number(0), 0}; break;
        case store::Kind::Dept: node = {NodeDepartment, p.number(0), p.number(1)}; break;
        case store::Kind::MainGroup: node = {NodeMainGroup, p.number(0), p.number(2)}; break;
        case store::Kind::Search: node = {NodeSearchSet, p.number(0), p.number(1)}; break;
        default: break;
    }
    if (hasNode_ && node == node_ && !changed) return;  // the same list: nothing to read again
    if (std::get<0>(node) < 0) {
        // The root of the chain lists nothing.
        node_ = node;
        hasNode_ = true;
        query_.clear();
        model_->reset(nullptr);
        state_.RsPLU.reset();
        currentRow_ = -1;
        markedShown_ = 0;
        emit currentPluChanged(0);
        enablePLUButtons();
        checkSelection();
        updateFindState();
        return;
    }
    fillPLUList(std::get<0>(node), std::get<1>(node), std::get<2>(node));
}

void PluList::fillPLUList(int nodeKind, int storeNo, int nodeNo) {
    if (w_.askSavePLU() == 3) return;
    node_ = {nodeKind, storeNo, nodeNo};
    hasNode_ = true;
    clearCopyFlag();
    if (!state_.Conn) return;
    ensurePluListIndex(*state_.Conn);
    query_ = pluListQuery(*state_.Conn, nodeKind, storeNo, nodeNo);
    model_->reset(nullptr);
    state_.RsPLU = std::make_unique<store::Recordset>(*state_.Conn, query_);
    const QString f = findText_.trimmed();
    if (!f.isEmpty() && !allDigits(f)) {
        narrowTo(f, 0);
    } else {
        showRows({}, false, 0, 0);
        if (!f.isEmpty()) find(f);
    }
}

void PluList::showRows(std::vector<long> positions, bool narrowed, int64_t keepRowId, long keepPosition) {
    quiet_ = true;
    model_->reset(state_.RsPLU.get(), std::move(positions), narrowed);
    quiet_ = false;
    if (!narrowed) countMarked();
    int row = -1;
    if (keepRowId != 0 && state_.RsPLU) row = model_->rowOfPosition(state_.RsPLU->positionOf(keepRowId));
    if (row < 0 && model_->rowCount() > 0) {
        // The row is gone (deleted, or not among those found): the one now at its place.
        row = 0;
        if (keepPosition > 0) {
            const auto& shown = model_->shownPositions();
            row = narrowed ? static_cast<int>(std::lower_bound(shown.begin(), shown.end(), keepPosition) - shown.begin())
                           : static_cast<int>(keepPosition);
            row = std::min(row, model_->rowCount() - 1);
        }
    }
    setCurrent(row, true);
    checkSelection();
    updateFindState();
    emit listFilled();
}

void PluList::refreshPLUList() { refreshTo(currentRowId()); }

void PluList::refreshTo(int64_t rowId) {
    if (!state_.Conn || query_.empty()) return;
    const long keepPosition = currentPosition();
    model_->reset(nullptr);
    if (state_.RsPLU) state_.RsPLU->requery();
    else state_.RsPLU = std::make_unique<store::Recordset>(*state_.Conn, query_);
    const QString f = findText_.trimmed();
    if (!f.isEmpty() && !allDigits(f)) narrowTo(f, rowId);
    else showRows({}, false, rowId, keepPosition);
}

void PluList::rowSaved(int64_t rowId) {
    if (!state_.Conn || query_.empty()) return;
    const int row = currentRow_;
    if (row < 0 || narrowed() || currentRowId() != rowId) return refreshTo(rowId);
    // Still in its place when its number lies between its neighbours' (the list is in number
    // order): then the keyset is as it was.
    const auto number = [&](int r) { return model_->readRow(model_->rowIdAt(r)).pluNo; };
    const int64_t no = number(row);
    const bool inPlace = (row == 0 || number(row - 1) < no) && (row + 1 >= model_->rowCount() || no < number(row + 1));
    if (!inPlace) return refreshTo(rowId);
    if (state_.RsPLU) state_.RsPLU->forgetCurrent();
    model_->rowChanged(row);
    checkSelection();
}

void PluList::attachEditor(PluEditor& editor) {
    connect(this, &PluList::currentPluChanged, &editor, [&editor](qint64 id) {
        if (id <= 0 || !editor.showRow(id)) editor.clear();
    });
    connect(&editor, &PluEditor::rowSaved, this, [this](qint64 id) {
        clearCopyFlag();
        rowSaved(id);
    });
    connect(&editor, &PluEditor::stepRequested, this, [this](int step) { step > 0 ? cmdDown() : cmdUp(); });
    connect(this, &PluList::copyStarted, &editor, [&editor](qint64 id) { editor.startCopy(id); });
    // While the editor holds a new row, the commands that act on the list's saved row are off.
    connect(&editor, &PluEditor::newRowChanged, this, [this](bool on) { setNewRow(on); });
    // What the list shows now goes to the editor at once.
    if (currentRowId() > 0) editor.showRow(currentRowId());
}

void PluList::countMarked() {
    markedShown_ = 0;
    if (!state_.Conn || query_.empty()) return;
    auto st = state_.Conn->prepare(pluListMarkedCount(query_));
    if (st->step()) markedShown_ = st->columnInt(0);
}

// ---- The current row ----------------------------------------------------------------------------

void PluList::setCurrent(int row, bool notify) {
    if (row >= model_->rowCount()) row = model_->rowCount() - 1;
    currentRow_ = row;
    state_.selectedGridRow = row;
    if (state_.RsPLU) {
        const long pos = model_->positionAt(row);
        if (pos >= 0) state_.RsPLU->setAbsolutePosition(pos);
    }
    quiet_ = true;
    if (row >= 0) {
        const QModelIndex index = model_->index(row, PluListModel::ColPLU);
        view_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        view_->scrollTo(index);
    } else {
        view_->selectionModel()->clear();
    }
    quiet_ = false;
    if (notify) emit currentPluChanged(currentRowId());
    enablePLUButtons();
}

bool PluList::moveTo(int row) {
    if (row == currentRow_) return true;
    const int64_t target = model_->rowIdAt(row);
    if (w_.askSavePLU() == 3) {
        setCurrent(currentRow_, false);  // the grid goes back to the PLU being edited
        return false;
    }
    // A save may have refilled the list (a new row): the PLU chosen is found again by its id.
    if (target != 0 && model_->rowIdAt(row) != target && state_.RsPLU) {
        const int again = model_->rowOfPosition(state_.RsPLU->positionOf(target));
        if (again >= 0) row = again;
    }
    setCurrent(row, true);
    return true;
}

void PluList::cmdUp() {
    if (w_.askSavePLU() == 3) return;
    if (currentRow_ < 0) return;
    // The editor is shown the row again even at the first one.
    setCurrent(std::max(0, currentRow_ - 1), true);
}

void PluList::cmdDown() {
    if (w_.askSavePLU() == 3) return;
    if (currentRow_ < 0) return;
    setCurrent(std::min(model_->rowCount() - 1, currentRow_ + 1), true);
}

// ---- Marks --------------------------------------------------------------------------------------

std::vector<int64_t> PluList::shownRowIds() const {
    std::vector<int64_t> ids;
    if (!state_.RsPLU) return ids;
    if (!model_->narrowed()) return state_.RsPLU->rowIds();
    ids.reserve(model_->shownPositions().size());
    for (long p : model_->shownPositions()) ids.push_back(state_.RsPLU->rowIdAt(p));
    return ids;
}

template <class F>
bool PluList::walk(const std::vector<int64_t>& rowIds, F&& step, int64_t* failedRowId) {
    view_->setEnabled(false);
    QElapsedTimer since;
    since.start();
    size_t done = 0;
    int64_t current = 0;
    bool ok = true;
    // The walk rewrites every row it touches: a cache that holds them all until the commit saves
    // spilling pages half way (the mirror's fill uses the same size).
    struct CacheSize {
        store::Database& db;
        explicit CacheSize(store::Database& d) : db(d) { db.exec("PRAGMA cache_size=-65536"); }
        ~CacheSize() {
            try {
                db.exec("PRAGMA cache_size=-2000");
            } catch (...) {
            }
        }
    } cache(*state_.Conn);
    try {
        store::Transaction tx(*state_.Conn);
        for (int64_t id : rowIds) {
            current = id;
            step(id);
            ++done;
            if (since.elapsed() >= kRepaintMs) {
                w_.statusBar()->showMessage(QString("%1 / %2").arg(done).arg(rowIds.size()));
                // Paint and timers only: a click elsewhere may not start another list meanwhile.
                QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
                since.restart();
            }
        }
        tx.commit();
    } catch (const std::exception&) {
        ok = false;
        if (failedRowId) *failedRowId = current;
        view_->setEnabled(true);
        w_.statusBar()->clearMessage();
        throw;
    }
    view_->setEnabled(true);
    w_.statusBar()->clearMessage();
    return ok;
}

void PluList::selectPLURows(int mode) {
    if (!state_.Conn || !state_.RsPLU) return;
    const std::vector<int64_t> ids = shownRowIds();
    if (ids.empty()) return;
    int64_t failed = 0;
    try {
        // A row that has the mark already is not written again (each write rewrites the whole row).
        auto& st = state_.Conn->cached("UPDATE KVR_25 SET Is_Selected=?1 WHERE rowid=?2 AND Is_Selected IS NOT ?1");
        walk(ids, [&](int64_t id) {
            st.bind(1, store::Value(int64_t{mode ? 1 : 0}));
            st.bind(2, store::Value(id));
            st.step();
            st.reset();
        }, &failed);
        markedShown_ = mode ? static_cast<long>(ids.size()) : 0;
    } catch (const std::exception& e) {
        // Rolled back: every row keeps its mark.
        Messages::show(text("msgbox", "pluMarkFailed").arg(pluNoOf(failed)).arg(QString::fromStdString(e.what())),
                       MsgIcon::Stop, MsgButtons::Ok, &w_);
        if (model_->narrowed()) narrowTo(findText_.trimmed(), currentRowId());
        else countMarked();
    }
    state_.RsPLU->forgetCurrent();
    model_->forgetAll();
    updateFindState();
}

void PluList::walkSelection(int mode) {
    if (w_.askSavePLU() == 3) return;
    selectPLURows(mode);
    checkSelection();
    enablePLUButtons();
}

void PluList::togglePLUSelection() {
    if (currentRow_ < 0 || !state_.RsPLU) return;
    state_.RsPLU->setAbsolutePosition(currentPosition());
    const bool was = state_.RsPLU->intValue("Is_Selected") != 0;
    try {
        state_.RsPLU->setValue("Is_Selected", store::Value(int64_t{was ? 0 : 1}));
        state_.RsPLU->update();
    } catch (const std::exception& e) {
        state_.RsPLU->cancelUpdate();
        Messages::show(text("msgbox", "pluMarkFailed").arg(pluNoOf(currentRowId())).arg(QString::fromStdString(e.what())),
                       MsgIcon::Stop, MsgButtons::Ok, &w_);
        return;
    }
    markedShown_ += was ? -1 : 1;
    model_->rowChanged(currentRow_);
    checkSelection();
    enablePLUButtons();
    updateFindState();
}

bool PluList::checkSelection() {
    bool any = false;
    if (state_.Conn) {
        // Whether a row comes back is all that counts: its row id alone is read from the list's
        // index, not the whole wide row of every unmarked PLU.
        auto st = state_.Conn->prepare("Select rowid from KVR_25 where Is_Selected = 1");
        any = st->step();
    }
    for (const char* name : kSelectionCommands) w_.setCommandEnabled(name, any);
    return any;
}

void PluList::enablePLUButtons() {
    const int n = model_->rowCount();
    const bool has = currentRow_ >= 0 && currentRow_ < n;
    w_.setCommandEnabled("cmdUp", has && currentRow_ > 0);
    w_.setCommandEnabled("cmdDown", has && currentRow_ < n - 1);
    w_.setCommandEnabled("cmdSelectAll", n > 0 && markedShown_ < n);
    w_.setCommandEnabled("cmdClearAll", n > 0 && markedShown_ > 0);
    w_.setCommandEnabled("cmdDelAll", n > 0);
    w_.setCommandEnabled("cmdDlelte", has && !newRow_);
    w_.setCommandEnabled("cmdCopy", has && !newRow_);
    w_.setCommandEnabled("cmdDownload", has && !newRow_);
    w_.setCommandEnabled("cmdReflesh", state_.Conn != nullptr && hasNode_);
}

// ---- Delete, copy, refresh ----------------------------------------------------------------------

int64_t PluList::pluNoOf(int64_t rowId) const { return model_->readRow(rowId).pluNo; }

void PluList::deleteFailed(int64_t pluNo, const std::exception& e) {
    Messages::show(text("msgbox", "pluDeleteFailed").arg(pluNo).arg(QString::fromStdString(e.what())), MsgIcon::Stop,
                   MsgButtons::Ok, &w_);
}

void PluList::deletePLU() {
    if (currentRow_ < 0 || !state_.RsPLU) return;
    if (Messages::key(state_, "delPLU", MsgIcon::Question, MsgButtons::YesNo, &w_) != MsgResult::Yes) return;
    const int64_t id = currentRowId();
    const long pos = currentPosition();
    const int64_t pluNo = pluNoOf(id);
    try {
        state_.RsPLU->setAbsolutePosition(pos);
        state_.RsPLU->remove();
    } catch (const std::exception& e) {
        // The row stays, and so does whatever the editor holds.
        deleteFailed(pluNo, e);
        return;
    }
    state_.pluChanged = false;  // the edited row is gone with its changes
    clearCopyFlag();
    // The row after the deleted one takes its place.
    refreshPLUList();
}

void PluList::cmdDelAll() {
    if (w_.askSavePLU() == 3) return;
    if (!state_.Conn || model_->rowCount() == 0) return;
    if (Messages::key(state_, "delAllPLU", MsgIcon::Question, MsgButtons::YesNo, &w_) != MsgResult::Yes) return;
    const std::vector<int64_t> ids = shownRowIds();
    int64_t failed = 0;
    try {
        auto& st = state_.Conn->cached("DELETE FROM KVR_25 WHERE rowid=?1");
        walk(ids, [&](int64_t id) {
            st.bind(1, store::Value(id));
            st.step();
            st.reset();
        }, &failed);
    } catch (const std::exception& e) {
        // Rolled back: every row of the list is still there.
        deleteFailed(pluNoOf(failed), e);
        return;
    }
    clearCopyFlag();
    refreshPLUList();
}

void PluList::copyPLU() {
    if (!state_.Conn) return;
    QLineEdit* numberBox = w_.findChild<QLineEdit*>("meditPLU");
    const QString typed = (numberSource_ ? numberSource_() : numberBox ? numberBox->text() : QString()).trimmed();
    bool ok = false;
    const qlonglong number = typed.toLongLong(&ok);
    std::optional<int64_t> source;
    if (ok && allDigits(typed)) {
        store::Recordset rs(*state_.Conn, "Select * from KVR_25 Where PLU_No=" + std::to_string(number) +
                                              " and ST_No=" + std::to_string(std::get<1>(node_)));
        if (rs.recordCount() > 0) source = rs.rowIdAt(0);
    }
    if (!source) {
        Messages::show(text("msgbox", "copyNoPLU").arg(typed), MsgIcon::Exclamation, MsgButtons::Ok, &w_);
        return;
    }
    copySource_ = *source;
    copyFlag_ = true;
    emit copyStarted(*source);
    // The controls keep the source's values; the operator types the new number.
    if (numberBox) {
        numberBox->setFocus(Qt::OtherFocusReason);
        numberBox->selectAll();
    }
}

void PluList::cmdReflesh() {
    if (w_.askSavePLU() == 3) return;
    const int64_t keep = currentRowId();
    const long keepPosition = currentPosition();
    model_->reset(nullptr);
    currentRow_ = -1;
    state_.closeDatabase();
    try {
        state_.Conn = store::linkDatabase(state_.databasePath());
    } catch (const std::exception&) {
        state_.Conn.reset();
    }
    if (!state_.Conn) {
        Messages::key(state_, "linkADO", MsgIcon::Stop, MsgButtons::Ok, &w_);
        enablePLUButtons();
        return;
    }
    if (query_.empty()) {
        enablePLUButtons();
        return;
    }
    ensurePluListIndex(*state_.Conn);
    state_.RsPLU = std::make_unique<store::Recordset>(*state_.Conn, query_);
    const QString f = findText_.trimmed();
    if (!f.isEmpty() && !allDigits(f)) narrowTo(f, keep);
    else showRows({}, false, keep, keepPosition);
}

// ---- Find ---------------------------------------------------------------------------------------

void PluList::find(const QString& typed) {
    if (find_->text() != typed) {
        QSignalBlocker b(find_);
        find_->setText(typed);
    }
    findText_ = typed;
    const QString t = typed.trimmed();
    if (!state_.RsPLU) {
        updateFindState();
        return;
    }
    if (t.isEmpty() || allDigits(t)) {
        if (model_->narrowed()) showRows({}, false, currentRowId(), -1);
        if (t.isEmpty()) {
            updateFindState();
            return;
        }
        // Number order: the first PLU at or above the number, found by halving.
        const int64_t wanted = t.length() > 12 ? INT64_MAX : t.toLongLong();
        int lo = 0, hi = model_->rowCount();
        while (lo < hi) {
            const int mid = (lo + hi) / 2;
            if (pluNoOf(model_->rowIdAt(mid)) < wanted) lo = mid + 1;
            else hi = mid;
        }
        if (model_->rowCount() > 0) setCurrent(std::min(lo, model_->rowCount() - 1), true);
        updateFindState();
        return;
    }
    narrowTo(t, currentRowId());
}

void PluList::narrowTo(const QString& needle, int64_t keepRowId) {
    if (!state_.Conn || !state_.RsPLU) return;
    std::unordered_map<int64_t, long> positionOf;
    const auto& ids = state_.RsPLU->rowIds();
    positionOf.reserve(ids.size());
    for (size_t i = 0; i < ids.size(); ++i) positionOf.emplace(ids[i], static_cast<long>(i));
    std::vector<long> positions;
    long marked = 0;
    auto st = state_.Conn->prepare(pluListSelect(query_, "KVR_25.rowid, PLU_CommodityFirst, Is_Selected"));
    while (st->step()) {
        sqlite3_stmt* h = st->handle();
        const auto* p = reinterpret_cast<const char*>(sqlite3_column_text(h, 1));
        if (!p) continue;
        const QString name = QString::fromUtf8(p, sqlite3_column_bytes(h, 1));
        if (!name.contains(needle, Qt::CaseInsensitive)) continue;
        auto it = positionOf.find(sqlite3_column_int64(h, 0));
        if (it == positionOf.end()) continue;
        positions.push_back(it->second);
        if (sqlite3_column_int64(h, 2) != 0) ++marked;
    }
    std::sort(positions.begin(), positions.end());
    markedShown_ = marked;
    showRows(std::move(positions), true, keepRowId, -1);
}

void PluList::updateFindState() {
    if (!model_->narrowed()) {
        findState_->hide();
        findState_->clear();
        return;
    }
    findState_->setText(text("frmMain_flexgrid", "MainFindNarrowed")
                            .arg(findText_.trimmed())
                            .arg(model_->rowCount())
                            .arg(totalCount())
                            .arg(markedShown_));
    findState_->show();
}

bool PluList::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        auto* k = static_cast<QKeyEvent*>(event);
        if (watched == find_ && k->key() == Qt::Key_Escape && k->modifiers() == Qt::NoModifier) {
            if (!find_->text().isEmpty()) {
                shell::runGuarded([this] {
                    if (w_.askSavePLU() == 3) return;
                    find(QString());
                });
                return true;
            }
        }
        if (watched == view_ && k->key() == Qt::Key_Space && k->modifiers() == Qt::NoModifier) {
            shell::runGuarded([this] { togglePLUSelection(); });
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace brindale::plu::ui
