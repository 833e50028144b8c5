#include "transfer/ui/transfer_log_window.h"
#include "shell/form_scaling.h"

#include <QComboBox>
#include <QDate>
#include <QDateEdit>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

namespace brindale::transfer::ui {

namespace {
QString qs(const std::string& s) { return QString::fromStdString(s); }

constexpr const char* kColumnKeys[] = {"colStart", "colDuration", "colMode",  "colTables", "colStore",
                                       "colSection", "colScale",  "colAddress", "colState", "colReason",
                                       "colDetail", "colRecords", "colNotes"};
static_assert(std::size(kColumnKeys) == TransferLogModel::ColumnCount);

constexpr const char* kDateFormat = "yyyy-MM-dd";

QDate dateOf(const std::string& isoStart) {
    return QDate::fromString(qs(isoStart.substr(0, 10)), kDateFormat);
}
}  // namespace

TransferLogModel::TransferLogModel(sqlite3* db, Caption caption, LanguageTexts transferTexts, QObject* parent)
    : QAbstractTableModel(parent), caption_(std::move(caption)), texts_(std::move(transferTexts)), reader_(db) {}

void TransferLogModel::setIds(std::vector<int64_t> ids) {
    beginResetModel();
    ids_ = std::move(ids);
    cache_.clear();
    endResetModel();
}

const TransferLogRow& TransferLogModel::rowAt(int row) const {
    if (row < 0 || size_t(row) >= ids_.size()) return missing_;
    const int64_t id = ids_[size_t(row)];
    if (auto it = cache_.find(id); it != cache_.end()) return it->second;
    // A few screens' worth is plenty; the whole history never stays in memory.
    if (cache_.size() >= 2000) cache_.clear();
    TransferLogRow r;
    std::string error;
    if (!reader_.read(id, r, error)) return missing_;
    return cache_.emplace(id, std::move(r)).first->second;
}

int TransferLogModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ids_.size());
}

int TransferLogModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : ColumnCount; }

QString TransferLogModel::cell(const TransferLogRow& r, int column) const {
    switch (column) {
    case Start: {
        QString s = qs(r.start);
        return s.replace('T', ' ');
    }
    case Duration: return QString::number(double(r.durationMs) / 1000.0, 'f', 1);
    case Mode:
        if (r.mode == 0) return caption_("modeDownload");
        if (r.mode == 1) return caption_("modeUpload");
        if (r.mode == 2) return caption_("modeDelete");
        return QString::number(r.mode);
    case Tables: return qs(r.tables);
    case Store: return QString::number(r.store);
    case Section: return QString::number(r.section);
    case Scale: return qs(r.scaleName);
    case Address: return qs(r.scaleAddress);
    case State: return r.state.empty() ? QString() : qs(texts_.get(r.state));
    case Reason: return r.reason.empty() ? QString() : qs(texts_.get(r.reason));
    case Detail: return qs(r.detail);
    case Records: return QString::number(r.done) + " / " + QString::number(r.toDo);
    case Notes: return qs(r.notes);
    default: return {};
    }
}

QVariant TransferLogModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount() || index.column() >= ColumnCount) return {};
    const TransferLogRow& r = rowAt(index.row());
    if (role == Qt::DisplayRole) return cell(r, index.column());
    if (role == Qt::ToolTipRole && (index.column() == Detail || index.column() == Notes)) return cell(r, index.column());
    if (role == Qt::TextAlignmentRole) {
        switch (index.column()) {
        case Duration: case Store: case Section: case Records:
            return QVariant(Qt::AlignRight | Qt::AlignVCenter);
        default: break;
        }
    }
    return {};
}

QVariant TransferLogModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole) return {};
    if (orientation == Qt::Horizontal && section >= 0 && section < ColumnCount) return caption_(kColumnKeys[section]);
    if (orientation == Qt::Vertical) return section + 1;
    return {};
}

FrmTransferLog::FrmTransferLog(sqlite3* db, Captions captions, LanguageTexts transferTexts, QWidget* parent)
    : QDialog(parent), db_(db), captions_(std::move(captions)) {
    setObjectName("frmTransferLog");
    setWindowTitle(caption("Title"));
    setModal(true);

    model_ = new TransferLogModel(db_, [this](const char* key) { return caption(key); }, std::move(transferTexts), this);

    auto* lblScale = new QLabel(caption("lblScale"), this);
    lblScale->setObjectName("lblScale");
    combScale_ = new QComboBox(this);
    combScale_->setObjectName("combScale");
    lblScale->setBuddy(combScale_);
    auto* lblFrom = new QLabel(caption("lblFrom"), this);
    lblFrom->setObjectName("lblFrom");
    DTPickerFrom_ = new QDateEdit(this);
    DTPickerFrom_->setObjectName("DTPickerFrom");
    auto* lblTo = new QLabel(caption("lblTo"), this);
    lblTo->setObjectName("lblTo");
    DTPickerTo_ = new QDateEdit(this);
    DTPickerTo_->setObjectName("DTPickerTo");
    for (QDateEdit* d : {DTPickerFrom_, DTPickerTo_}) {
        d->setDisplayFormat(kDateFormat);
        d->setCalendarPopup(true);
    }
    lblFrom->setBuddy(DTPickerFrom_);
    lblTo->setBuddy(DTPickerTo_);

    gridLog_ = new QTableView(this);
    gridLog_->setObjectName("gridLog");
    gridLog_->setModel(model_);
    gridLog_->setSelectionBehavior(QAbstractItemView::SelectRows);
    gridLog_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    gridLog_->setWordWrap(false);
    // Fixed row heights: the view never measures 50,000 rows.
    gridLog_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    gridLog_->verticalHeader()->setDefaultSectionSize(gridLog_->fontMetrics().height() + 6);
    gridLog_->horizontalHeader()->setStretchLastSection(true);
    const int widths[] = {150, 70, 80, 70, 50, 60, 90, 110, 80, 180, 220, 90, 200};
    for (int c = 0; c < TransferLogModel::ColumnCount; ++c) gridLog_->setColumnWidth(c, widths[c]);

    lblCount_ = new QLabel(this);
    lblCount_->setObjectName("lblCount");
    cmdClose_ = new QPushButton(caption("cmdClose"), this);
    cmdClose_->setObjectName("cmdClose");
    connect(cmdClose_, &QPushButton::clicked, this, &QDialog::accept);

    auto* filters = new QHBoxLayout;
    filters->addWidget(lblScale);
    filters->addWidget(combScale_, 1);
    filters->addSpacing(12);
    filters->addWidget(lblFrom);
    filters->addWidget(DTPickerFrom_);
    filters->addWidget(lblTo);
    filters->addWidget(DTPickerTo_);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(lblCount_, 1);
    bottom->addWidget(cmdClose_);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(filters);
    layout->addWidget(gridLog_, 1);
    layout->addLayout(bottom);
    resize(1100, 560);

    // The dates start on the whole history: from its first day to today (or its last day).
    std::string oldest, newest, error;
    QDate from = QDate::currentDate(), to = QDate::currentDate();
    if (transferLogSpan(db_, oldest, newest, error)) {
        if (QDate d = dateOf(oldest); d.isValid()) from = std::min(from, d);
        if (QDate d = dateOf(newest); d.isValid()) to = std::max(to, d);
    }
    DTPickerFrom_->setDate(from);
    DTPickerTo_->setDate(to);
    fillScales();

    connect(combScale_, &QComboBox::currentIndexChanged, this, [this] { applyFilter(); });
    connect(DTPickerFrom_, &QDateEdit::dateChanged, this, [this] { applyFilter(); });
    connect(DTPickerTo_, &QDateEdit::dateChanged, this, [this] { applyFilter(); });
    applyFilter();
    // The system language's character set on every control.
    shell::prepareForm(this);
}

QString FrmTransferLog::caption(const char* key) const {
    return captions_ ? qs(captions_("frm_TransferLog", key)) : QString::fromLatin1(key);
}

void FrmTransferLog::fillScales() {
    std::string error;
    if (!transferLogScales(db_, scales_, error)) scales_.clear();
    const QSignalBlocker block(combScale_);
    combScale_->clear();
    combScale_->addItem(caption("combScaleAll"));
    for (const auto& s : scales_)
        combScale_->addItem(s.address.empty() ? qs(s.name) : qs(s.name) + " (" + qs(s.address) + ")");
    combScale_->setCurrentIndex(0);
}

void FrmTransferLog::applyFilter() {
    TransferLogFilter f;
    const int i = combScale_->currentIndex();
    if (i > 0 && size_t(i) <= scales_.size()) f.scale = {scales_[size_t(i - 1)].name, scales_[size_t(i - 1)].address};
    f.fromDate = DTPickerFrom_->date().toString(kDateFormat).toStdString();
    f.toDate = DTPickerTo_->date().toString(kDateFormat).toStdString();
    std::vector<int64_t> ids;
    std::string error;
    if (queryTransferLogIds(db_, f, ids, error)) {
        error_.clear();
        model_->setIds(std::move(ids));
        lblCount_->setText(caption("lblCount").replace("%1", QString::number(model_->rowCount())));
    } else {
        error_ = qs(error);
        model_->setIds({});
        lblCount_->setText(caption("loadFailed").replace("%1", error_));
    }
}

}  // namespace brindale::transfer::ui
