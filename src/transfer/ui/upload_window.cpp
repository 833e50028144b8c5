#include "transfer/ui/upload_window.h"
#include "shell/form_scaling.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QEventLoop>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>

#include "plu/plu_format.h"
#include "plu/ui/plu_editor_window.h"
#include "shell/messages.h"
#include "shell/program_state.h"
#include "store/fatal_error.h"

namespace brindale::transfer::ui {

namespace {

QString qs(const std::string& s) { return QString::fromStdString(s); }

// Lets the window paint while a long pass runs; the operator's input waits, since every command
// is off meanwhile.
void keepPainted() { QApplication::processEvents(QEventLoop::ExcludeUserInputEvents); }

}  // namespace

// ---- the grid's model -------------------------------------------------------------------------

UploadGridModel::UploadGridModel(shell::ProgramState& state, ReviewSet& set, QObject* parent)
    : QAbstractTableModel(parent), state_(state), set_(set) {}

void UploadGridModel::reload() {
    beginResetModel();
    cache_.clear();
    rowsRead_ = 0;
    shown_ = -1;
    endResetModel();
}

int UploadGridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(set_.size());
}

int UploadGridModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : ColumnCount; }

const ReviewRow& UploadGridModel::cachedRow(int row) const {
    auto it = cache_.find(row);
    if (it != cache_.end()) return *it;
    // A screenful or two is all the view asks for; a long scroll starts the cache again.
    if (cache_.size() > 4096) cache_.clear();
    ++rowsRead_;
    ReviewRow r;
    try {
        r = set_.row(row);
    } catch (const FatalError&) {
        // A paint is no place for a message box: the row shows nothing read, and the tabs, which
        // read the same row, say why.
    }
    return *cache_.insert(row, r);
}

QVariant UploadGridModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    if (role == Qt::TextAlignmentRole)
        return index.column() == ColShown || index.column() == ColMark ? int(Qt::AlignCenter)
                                                                       : int(Qt::AlignLeft | Qt::AlignVCenter);
    if (role != Qt::DisplayRole) return {};
    const int row = index.row();
    switch (index.column()) {
        case ColShown: return row == shown_ ? QStringLiteral("*") : QString();
        case ColNo: return QString::number(row + 1);
        case ColMark: return set_.marked(row) ? QStringLiteral("*") : QString();
        default: break;
    }
    const ReviewRow& r = cachedRow(row);
    switch (index.column()) {
        case ColPLU: return QString::number(r.pluNo);
        case ColItem: return qs(r.itemCode);
        case ColName: return qs(r.name);
        case ColPrice:
            return qs(plu::formatScaled(r.price, state_.settings.PriceDecimals, state_.settings.DecimalSign()));
        default: return {};
    }
}

QVariant UploadGridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    static const char* const keys[] = {nullptr, "MainGrdNo", "MainGrdPLU", "MainGrdItem", "MainGrdName", "MainGrdUP"};
    if (section == ColMark) return QStringLiteral("S");
    if (section <= ColShown || section >= ColMark) return QString();
    return qs(state_.text("frmMain_flexgrid", keys[section]));
}

void UploadGridModel::setShownRow(int row) {
    if (row == shown_) return;
    const int old = shown_;
    shown_ = row;
    if (old >= 0 && old < rowCount()) emit dataChanged(index(old, ColShown), index(old, ColShown));
    if (row >= 0 && row < rowCount()) emit dataChanged(index(row, ColShown), index(row, ColShown));
}

void UploadGridModel::toggleMark(int row) {
    if (row < 0 || row >= rowCount()) return;
    set_.toggleMark(row);
    emit dataChanged(index(row, ColMark), index(row, ColMark));
}

// ---- the window -------------------------------------------------------------------------------

UploadWindow::UploadWindow(shell::ProgramState& state, QWidget* parent)
    : QDialog(parent), state_(state), set_(*state.Conn, state.codecEnvironment()) {
    setObjectName("frmUpload");
    setModal(true);

    auto named = [](QWidget* w, const char* name) {
        w->setObjectName(name);
        return w;
    };
    combST_ = static_cast<QComboBox*>(named(new QComboBox(this), "combST"));
    combDP_ = static_cast<QComboBox*>(named(new QComboBox(this), "combDP"));
    combMG_ = static_cast<QComboBox*>(named(new QComboBox(this), "combMG"));
    chkSamePLU_ = static_cast<QCheckBox*>(named(new QCheckBox(this), "chkSamePLU"));
    auto* lblST = named(new QLabel(this), "lblSTno");
    auto* lblDP = named(new QLabel(this), "lblDPno");
    auto* lblMG = named(new QLabel(this), "lblMGno");
    loading_ = static_cast<QLabel*>(named(new QLabel(this), "lblloading"));
    unreadable_ = static_cast<QLabel*>(named(new QLabel(this), "lblUnreadable"));
    unreadable_->setWordWrap(true);
    unreadableList_ = static_cast<QListWidget*>(named(new QListWidget(this), "lstUnreadable"));
    unreadableList_->setMaximumHeight(90);
    bar_ = static_cast<QProgressBar*>(named(new QProgressBar(this), "Bar"));
    cmdTransfer_ = static_cast<QPushButton*>(named(new QPushButton(this), "cmdTransfer"));
    cmdClose_ = static_cast<QPushButton*>(named(new QPushButton(this), "cmdClose"));

    model_ = new UploadGridModel(state_, set_, this);
    grid_ = static_cast<QTableView*>(named(new QTableView(this), "GridPLUUpload"));
    grid_->setModel(model_);
    grid_->setSelectionBehavior(QAbstractItemView::SelectRows);
    grid_->setSelectionMode(QAbstractItemView::SingleSelection);
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid_->verticalHeader()->hide();
    // Fixed row heights: the view never measures a million rows.
    grid_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    grid_->verticalHeader()->setDefaultSectionSize(grid_->fontMetrics().height() + 6);
    grid_->horizontalHeader()->setStretchLastSection(false);
    grid_->setColumnWidth(UploadGridModel::ColShown, 24);
    grid_->setColumnWidth(UploadGridModel::ColNo, 60);
    grid_->setColumnWidth(UploadGridModel::ColPLU, 80);
    grid_->setColumnWidth(UploadGridModel::ColItem, 100);
    grid_->setColumnWidth(UploadGridModel::ColName, 180);
    grid_->setColumnWidth(UploadGridModel::ColPrice, 90);
    grid_->setColumnWidth(UploadGridModel::ColMark, 30);
    {
        // Every column in view, the mark column too: the grid takes the width it needs.
        int width = 2 * grid_->frameWidth() + grid_->style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 4;
        for (int c = 0; c < model_->columnCount(); ++c) width += grid_->columnWidth(c);
        grid_->setMinimumWidth(width);
    }
    grid_->installEventFilter(this);
    connect(grid_, &QTableView::clicked, this,
            [this](const QModelIndex& i) { if (i.isValid()) clickGrid(i.row(), i.column()); });

    editor_ = new plu::ui::PluEditor(state_, this);
    editor_->setObjectName("SSTabPLUupload");
    editor_->setReadOnly(true);
    connect(editor_, &QTabWidget::currentChanged, this, [this](int page) { chgSSTabPLU(page); });

    auto* top = new QHBoxLayout;
    top->addWidget(lblST);
    top->addWidget(combST_);
    top->addWidget(lblDP);
    top->addWidget(combDP_);
    top->addWidget(lblMG);
    top->addWidget(combMG_);
    top->addWidget(chkSamePLU_);
    top->addStretch(1);
    auto* left = new QVBoxLayout;
    left->addWidget(loading_);
    left->addWidget(grid_, 1);
    left->addWidget(unreadable_);
    left->addWidget(unreadableList_);
    auto* middle = new QHBoxLayout;
    middle->addLayout(left, 0);
    middle->addWidget(editor_, 1);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(bar_, 1);
    bottom->addWidget(cmdTransfer_);
    bottom->addWidget(cmdClose_);
    auto* all = new QVBoxLayout(this);
    all->addLayout(top);
    all->addLayout(middle, 1);
    all->addLayout(bottom);
    resize(1340, 660);

    connect(combST_, &QComboBox::currentIndexChanged, this, [this] { fillDepartments(); });
    connect(combDP_, &QComboBox::currentIndexChanged, this, [this] { fillMainGroups(); });
    connect(cmdTransfer_, &QPushButton::clicked, this, [this] { transferMarked(); });
    connect(cmdClose_, &QPushButton::clicked, this, [this] {
        if (!busy_) accept();
    });

    setCaptions();
    iniSSTabPLUupload();
    grid_->hide();
    loading_->hide();
    bar_->hide();
    unreadable_->hide();
    unreadableList_->hide();
    cmdTransfer_->setEnabled(false);
    fillStores();
    // The system language's character set on every control.
    shell::prepareForm(this);
}

UploadWindow::~UploadWindow() = default;

QString UploadWindow::text(const char* section, const char* key) const { return qs(state_.text(section, key)); }

void UploadWindow::setCaptions() {
    setWindowTitle(text("frm_OTHER", "upTitle"));
    const std::pair<const char*, const char*> captions[] = {
        {"cmdTransfer", "upTransfer"}, {"cmdClose", "upClose"},  {"lblSTno", "upSTNum"},     {"lblDPno", "upDPNum"},
        {"lblMGno", "upMGNum"},        {"lblloading", "loading"}, {"chkSamePLU", "upOverride"}};
    for (const auto& [name, key] : captions) {
        QWidget* w = findChild<QWidget*>(name);
        if (auto* l = qobject_cast<QLabel*>(w)) l->setText(text("frm_OTHER", key));
        else if (auto* b = qobject_cast<QAbstractButton*>(w)) b->setText(text("frm_OTHER", key));
    }
}

void UploadWindow::fillStores() {
    const QSignalBlocker block(combST_);
    combST_->clear();
    int chosen = -1;
    for (int64_t st : storeNumbers(*state_.Conn)) {
        if (st == state_.currentStore) chosen = combST_->count();
        combST_->addItem(QString::number(st));
    }
    if (chosen < 0 && combST_->count() > 0) chosen = 0;
    combST_->setCurrentIndex(chosen);
    fillDepartments();
}

void UploadWindow::fillDepartments() {
    const QSignalBlocker block(combDP_);
    combDP_->clear();
    if (const auto st = parseNumber(combST_->currentText().toStdString()))
        for (int64_t dp : departmentNumbers(*state_.Conn, *st)) combDP_->addItem(QString::number(dp));
    combDP_->setCurrentIndex(combDP_->count() > 0 ? 0 : -1);
    fillMainGroups();
}

void UploadWindow::fillMainGroups() {
    combMG_->clear();
    const auto st = parseNumber(combST_->currentText().toStdString());
    const auto dp = parseNumber(combDP_->currentText().toStdString());
    if (!st || !dp) return;
    // "No main group" first, as in the editor's list; then the groups of the department.
    combMG_->addItem(QString::number(kNoMainGroup));
    for (int64_t mg : mainGroupNumbers(*state_.Conn, *st, *dp))
        if (mg != kNoMainGroup) combMG_->addItem(QString::number(mg));
    combMG_->setCurrentIndex(0);
}

void UploadWindow::showEvent(QShowEvent* e) {
    QDialog::showEvent(e);
    if (!filled_) {
        filled_ = true;
        QTimer::singleShot(0, this, [this] { ShowPluData(); });
    }
}

void UploadWindow::ShowPluData() {
    filled_ = true;
    busy_ = true;
    cmdClose_->setEnabled(false);
    cmdTransfer_->setEnabled(false);
    grid_->hide();
    loading_->show();
    bar_->setRange(0, 0);
    bar_->setValue(0);
    bar_->show();
    keepPainted();

    try {
        report_ = set_.load([this](long done, long total) {
            bar_->setRange(0, static_cast<int>(std::min<long>(total, INT_MAX)));
            bar_->setValue(static_cast<int>(std::min<long>(done, INT_MAX)));
            keepPainted();
        });
    } catch (const FatalError& e) {
        report_ = {};
        shell::Messages::show(text("frm_OTHER", "upDecodeFailed").arg(qs(e.what())), shell::MsgIcon::Exclamation,
                              shell::MsgButtons::Ok, this);
    }
    model_->reload();

    loading_->hide();
    bar_->hide();
    grid_->show();
    showUnreadable();
    busy_ = false;
    cmdClose_->setEnabled(true);
    updateTransferButton();
    if (set_.size() > 0) showRow(0);
    else editor_->clear();
}

void UploadWindow::showUnreadable() {
    unreadableList_->clear();
    const auto& list = report_.unreadable;
    if (list.empty()) {
        unreadable_->hide();
        unreadableList_->hide();
        return;
    }
    unreadable_->setText(text("frm_OTHER", "upUnreadable").arg(list.size()).arg(report_.total));
    const QString line = text("frm_OTHER", "upUnreadableLine");
    for (const auto& u : list)
        unreadableList_->addItem(line.arg(u.position).arg(u.pluNo).arg(qs(u.reason)));
    unreadable_->show();
    unreadableList_->show();
}

void UploadWindow::showRow(int row) {
    if (row < 0 || row >= model_->rowCount()) return;
    model_->setShownRow(row);
    const QModelIndex i = model_->index(row, grid_->currentIndex().isValid() ? grid_->currentIndex().column() : 1);
    grid_->selectionModel()->setCurrentIndex(i, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    grid_->scrollTo(i);
    ShowPluDataUpload();
}

void UploadWindow::ShowPluDataUpload() {
    const int row = model_->shownRow();
    if (row < 0) {
        editor_->clear();
        return;
    }
    // The editor reads the table: the shown row gets its decoded columns first. RC_25 is emptied
    // once the window closes, so nothing else reads them.
    try {
        set_.storeDecoded(row);
    } catch (const FatalError& e) {
        shell::Messages::show(text("frm_OTHER", "upDecodeFailed").arg(qs(e.what())), shell::MsgIcon::Exclamation,
                              shell::MsgButtons::Ok, this);
    }
    editor_->showRowOf("RC_25", set_.rowIdAt(row));
}

int UploadWindow::chgSSTabPLU(int page) {
    if (page >= 0 && page < editor_->count() && page != editor_->currentIndex()) editor_->setCurrentIndex(page);
    return editor_->currentIndex();
}

void UploadWindow::chgByPointUpload() {
    // The editor formats numbers, masks and dates from the settings each time it shows a row.
    editor_->setCaptions();
    ShowPluDataUpload();
    grid_->viewport()->update();
}

void UploadWindow::iniSSTabPLUupload() { editor_->setCaptions(); }

int UploadWindow::addBarcodeFormatupload() {
    ShowPluDataUpload();
    auto* c = qobject_cast<QComboBox*>(editor_->control("combBarcodeFormat"));
    return c ? c->count() : 0;
}

int UploadWindow::combSymbolChgListUpload() {
    ShowPluDataUpload();
    auto* c = qobject_cast<QComboBox*>(editor_->control("combSymbol"));
    return c ? c->count() : 0;
}

void UploadWindow::clickGrid(int row, int column) {
    if (busy_ || row < 0 || row >= model_->rowCount()) return;
    if (column == UploadGridModel::ColMark) {
        model_->toggleMark(row);
        updateTransferButton();
        return;
    }
    showRow(row);
}

void UploadWindow::stepGrid(int direction) {
    if (busy_ || model_->rowCount() == 0) return;
    const int row = std::clamp(model_->shownRow() + direction, 0, model_->rowCount() - 1);
    showRow(row);
}

bool UploadWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == grid_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Up || key == Qt::Key_Down) {
            stepGrid(key == Qt::Key_Up ? -1 : 1);
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void UploadWindow::updateTransferButton() { cmdTransfer_->setEnabled(!busy_ && set_.markedCount() > 0); }

void UploadWindow::transferMarked() {
    if (busy_ || set_.markedCount() == 0) return;
    busy_ = true;
    cmdClose_->setEnabled(false);
    cmdTransfer_->setEnabled(false);
    grid_->setEnabled(false);
    bar_->setRange(0, static_cast<int>(std::min<long>(set_.size(), INT_MAX)));
    bar_->setValue(0);
    bar_->show();
    keepPainted();

    TakeOverOptions o;
    o.store = combST_->currentText().toStdString();
    o.mainGroup = combMG_->currentText().toStdString();
    o.overwriteSameNumber = chkSamePLU_->isChecked();
    const TakeOverResult r = takeOverMarked(set_, o, [this](long done, long) {
        bar_->setValue(static_cast<int>(done));
        keepPainted();
    });

    busy_ = false;
    bar_->hide();
    grid_->setEnabled(true);
    cmdClose_->setEnabled(true);
    updateTransferButton();

    using F = TakeOverResult::Failure;
    if (r.failure == F::NoStore || r.failure == F::NoMainGroup) {
        const char* caption = r.failure == F::NoStore ? "upSTNum" : "upMGNum";
        shell::Messages::show(text("frm_OTHER", "upNoChoice").arg(text("frm_OTHER", caption), qs(r.list)),
                              shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return;
    }
    if (r.failure == F::Database) {
        shell::Messages::show(text("frm_OTHER", "upTranFailed").arg(r.failedPlu).arg(qs(r.reason)),
                              shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return;
    }
    takenOver_ += r.added + r.overwritten;
    QStringList left;
    for (int64_t n : r.leftOut) left << QString::number(n);
    const QString counts = text("frm_OTHER", "upTranCounts")
                               .arg(r.added)
                               .arg(r.overwritten)
                               .arg(r.leftOut.size())
                               .arg(left.isEmpty() ? QString() : "(" + left.join(", ") + ")")
                               .arg(report_.unreadable.size());
    shell::Messages::show(text("frm_OTHER", "upTranOK") + "\n" + counts, shell::MsgIcon::Information,
                          shell::MsgButtons::Ok, this);
}

int reviewUploaded(shell::ProgramState& state, QWidget* parent) {
    if (!state.Conn || !state.Conn->isOpen()) return 0;
    UploadWindow w(state, parent);
    w.exec();
    return static_cast<int>(w.takenOver());
}

}  // namespace brindale::transfer::ui
