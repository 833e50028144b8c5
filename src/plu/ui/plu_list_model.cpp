#include "plu_list_model.h"

#include <algorithm>

#include "plu/plu_format.h"
#include "store/recordset.h"

namespace brindale::plu::ui {

namespace {
// The view asks for a screenful at a time; a few hundred rows kept spare are plenty.
constexpr int kCacheLimit = 2000;
}  // namespace

PluListModel::PluListModel(shell::ProgramState& state, QObject* parent) : QAbstractTableModel(parent), state_(state) {
    for (int i = 0; i < ColumnCount; ++i) headings_ << QString();
}

void PluListModel::reset(const store::Recordset* rs, std::vector<long> shown, bool narrowed) {
    beginResetModel();
    rs_ = rs;
    shown_ = std::move(shown);
    narrowed_ = narrowed;
    cache_.clear();
    rowsRead_ = 0;
    endResetModel();
}

int PluListModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid() || !rs()) return 0;
    return narrowed_ ? static_cast<int>(shown_.size()) : static_cast<int>(rs()->recordCount());
}

int PluListModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : ColumnCount; }

long PluListModel::positionAt(int row) const {
    if (row < 0 || row >= rowCount()) return -1;
    return narrowed_ ? shown_[static_cast<size_t>(row)] : row;
}

int PluListModel::rowOfPosition(long position) const {
    if (!rs() || position < 0) return -1;
    if (!narrowed_) return position < rs()->recordCount() ? static_cast<int>(position) : -1;
    auto it = std::lower_bound(shown_.begin(), shown_.end(), position);
    return it != shown_.end() && *it == position ? static_cast<int>(it - shown_.begin()) : -1;
}

int64_t PluListModel::rowIdAt(int row) const { return rs() ? rs()->rowIdAt(positionAt(row)) : 0; }

PluListModel::Row PluListModel::readRow(int64_t rowId) const {
    Row r;
    if (!state_.Conn || rowId == 0) return r;
    auto& st = state_.Conn->cached(
        "SELECT PLU_No, PLU_EANItemCode, PLU_CommodityFirst, PLU_UPrice, Is_Selected FROM KVR_25 WHERE rowid=?1");
    st.bind(1, store::Value(rowId));
    if (st.step()) {
        r.pluNo = st.column(0).toInt();
        r.itemCode = QString::fromStdString(st.column(1).toText());
        r.name = QString::fromStdString(st.column(2).toText());
        r.price = st.column(3).toInt();
        r.selected = st.column(4).toInt() != 0;
    }
    st.reset();
    ++rowsRead_;
    return r;
}

const PluListModel::Row& PluListModel::cachedRow(int row) const {
    const int64_t id = rowIdAt(row);
    auto it = cache_.find(id);
    if (it != cache_.end()) return *it;
    if (cache_.size() >= kCacheLimit) cache_.clear();
    return *cache_.insert(id, readRow(id));
}

QVariant PluListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    if (role == Qt::TextAlignmentRole) {
        if (index.column() == ColName || index.column() == ColItem) return int(Qt::AlignLeft | Qt::AlignVCenter);
        if (index.column() == ColSelected) return int(Qt::AlignCenter);
        return int(Qt::AlignRight | Qt::AlignVCenter);
    }
    if (role != Qt::DisplayRole) return {};
    if (index.column() == ColNo) return index.row() + 1;  // the running number of the list as shown
    const Row& r = cachedRow(index.row());
    switch (index.column()) {
        case ColPLU: return QString::number(r.pluNo);
        case ColItem: return r.itemCode;
        case ColName: return r.name;
        case ColPrice:
            return QString::fromStdString(
                formatScaled(r.price, state_.settings.PriceDecimals, state_.settings.DecimalSign()));
        case ColSelected: return r.selected ? QStringLiteral("*") : QString();
        default: return {};
    }
}

QVariant PluListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 && section < ColumnCount)
        return headings_[section];
    return QAbstractTableModel::headerData(section, orientation, role);
}

bool PluListModel::setHeaderData(int section, Qt::Orientation orientation, const QVariant& value, int role) {
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) return false;
    if (role != Qt::EditRole && role != Qt::DisplayRole) return false;
    headings_[section] = value.toString();
    emit headerDataChanged(orientation, section, section);
    return true;
}

void PluListModel::rowChanged(int row) {
    if (row < 0 || row >= rowCount()) return;
    cache_.remove(rowIdAt(row));
    emit dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

void PluListModel::forgetAll() {
    cache_.clear();
    if (rowCount() > 0) emit dataChanged(index(0, 0), index(rowCount() - 1, ColumnCount - 1));
}

}  // namespace brindale::plu::ui
