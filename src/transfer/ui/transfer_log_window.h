// frmTransferLog: the transfer history, newest first, narrowed to one scale (combScale) and to a
// range of days (DTPickerFrom, DTPickerTo). A thin window over transfer/transfer_log.h: every
// change of a filter runs the query again on the working database.
#pragma once

#include <QAbstractTableModel>
#include <QDialog>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "transfer/language.h"
#include "transfer/transfer_log.h"

class QComboBox;
class QDateEdit;
class QLabel;
class QPushButton;
class QTableView;

struct sqlite3;

namespace brindale::transfer::ui {

// The rows of the history as the grid shows them: the filter gives the row ids, and a row is
// read by its id when it is painted, so that 50,000 rows cost no more than the ones on screen.
class TransferLogModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { Start, Duration, Mode, Tables, Store, Section, Scale, Address, State, Reason, Detail, Records,
                  Notes, ColumnCount };
    using Caption = std::function<QString(const char* key)>;

    TransferLogModel(sqlite3* db, Caption caption, LanguageTexts transferTexts, QObject* parent = nullptr);
    void setIds(std::vector<int64_t> ids);
    const std::vector<int64_t>& ids() const { return ids_; }
    // The row at a position as the database holds it now; an empty row when it cannot be read.
    const TransferLogRow& rowAt(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    QString cell(const TransferLogRow& r, int column) const;
    Caption caption_;
    LanguageTexts texts_;
    std::vector<int64_t> ids_;
    mutable TransferLogReader reader_;
    mutable std::unordered_map<int64_t, TransferLogRow> cache_;  // the rows painted lately
    TransferLogRow missing_;
};

class FrmTransferLog : public QDialog {
    Q_OBJECT
public:
    // Texts by language section and key, as the program's language tables hold them.
    using Captions = std::function<std::string(const char* section, const char* key)>;

    // `db` is the working database; `transferTexts` the transfer's own texts (states, reasons).
    FrmTransferLog(sqlite3* db, Captions captions, LanguageTexts transferTexts, QWidget* parent = nullptr);

    // Runs the query with what the filters say now.
    void applyFilter();
    const TransferLogModel& model() const { return *model_; }
    // What stopped the last query; empty when it ran.
    const QString& errorText() const { return error_; }

private:
    QString caption(const char* key) const;
    void fillScales();

    sqlite3* db_;
    Captions captions_;
    std::vector<TransferLogScale> scales_;
    QString error_;

    TransferLogModel* model_;
    QTableView* gridLog_;
    QComboBox* combScale_;
    QDateEdit* DTPickerFrom_;
    QDateEdit* DTPickerTo_;
    QLabel* lblCount_;
    QPushButton* cmdClose_;
};

}  // namespace brindale::transfer::ui
