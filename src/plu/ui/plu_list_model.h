#pragma once
// The rows of MSHFlexGridPLU: a table model over the keyset of RsPLU (or the part of it that the
// find leaves), reading a row's five shown columns by row id only when the view asks for it.
// Nothing is copied into widgets, so the list costs the same at 100 or 100,000 PLUs.
#include <QAbstractTableModel>
#include <QHash>
#include <QStringList>
#include <cstdint>
#include <vector>

#include "shell/program_state.h"

namespace brindale::plu::ui {

class PluListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { ColNo = 0, ColPLU, ColItem, ColName, ColPrice, ColSelected, ColumnCount };

    explicit PluListModel(shell::ProgramState& state, QObject* parent = nullptr);

    // Shows every row of `rs` (shown empty and narrowed false) or only the recordset positions in
    // `shown` (ascending). A null recordset empties the list.
    void reset(const store::Recordset* rs, std::vector<long> shown = {}, bool narrowed = false);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    bool setHeaderData(int section, Qt::Orientation orientation, const QVariant& value, int role = Qt::EditRole) override;

    bool narrowed() const { return narrowed_; }
    // The recordset position of a list row, and back (-1 when not shown).
    long positionAt(int row) const;
    int rowOfPosition(long position) const;
    int64_t rowIdAt(int row) const;
    const std::vector<long>& shownPositions() const { return shown_; }

    // What one row holds, read at once (not cached).
    struct Row {
        int64_t pluNo = 0;
        QString itemCode;
        QString name;
        int64_t price = 0;
        bool selected = false;
    };
    Row readRow(int64_t rowId) const;
    // The row's cached copy is dropped and the view told to ask again.
    void rowChanged(int row);
    // Every cached row is dropped (after a walk over all rows).
    void forgetAll();
    // Rows read from the database since the last reset: what the view has asked for.
    long rowsRead() const { return rowsRead_; }

private:
    const Row& cachedRow(int row) const;
    // The recordset while it is still RsPLU: the end of the run (or cmdReflesh) closes it before
    // the window stops painting, and the list is then empty rather than reading a closed one.
    const store::Recordset* rs() const { return rs_ && state_.RsPLU.get() == rs_ ? rs_ : nullptr; }

    shell::ProgramState& state_;
    const store::Recordset* rs_ = nullptr;
    std::vector<long> shown_;
    bool narrowed_ = false;
    QStringList headings_;
    mutable QHash<qint64, Row> cache_;
    mutable long rowsRead_ = 0;
};

}  // namespace brindale::plu::ui
