#pragma once
// frmExportReportData: fetches one kind of totals from the scales, shows it as a chart, and
// writes chosen columns of every row to a text file. The rules live in exchange/report_export.h;
// the window only shows them.
#include <QDialog>
#include <functional>
#include <string>
#include <vector>

#include "exchange/report_export.h"

class QComboBox;
class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;
class QChart;
class QChartView;

namespace brindale::shell {
struct ProgramState;
}

namespace brindale::exchange::ui {

class ReportExportWindow : public QDialog {
    Q_OBJECT
public:
    // Runs the fetch of one identifier (store 1, section 0) and calls `after` once the transfer
    // has run; the program passes the main window's flow runner.
    using Uploader = std::function<void(const std::string& identifier, const std::function<void()>& after)>;
    // The file dialog: `save` true for a save dialog; an empty name means cancelled.
    using FileChooser = std::function<QString(bool save)>;

    ReportExportWindow(shell::ProgramState& state, Uploader uploader, QWidget* parent = nullptr);
    void setFileChooser(FileChooser chooser) { chooser_ = std::move(chooser); }

    void cmdUpload();
    void cmdExport();
    void cmdAdd();
    void cmdAddAll();
    void cmdDelete();
    void cmdDeleteAll();
    void commandSave();
    void commandOpen();
    // comboReport changed: a different position empties the lists and needs a new fetch.
    void reportChanged(int position);
    // The chart again from the fetched records of the report and comboChartColumn.
    void refreshChart();

    const std::vector<ChartBar>& bars() const { return bars_; }
    const TotalsLayout& layout() const;

private:
    void setListsEnabled(bool on);
    void fillListItem();
    void fillChartColumns();
    DecodeSettings settings() const;
    QString text(const char* key) const;
    QString chooseFile(bool save);
    void showFault(const std::string& detail);
    void progress(long done, long total);

    shell::ProgramState& state_;
    Uploader uploader_;
    FileChooser chooser_;
    int report_ = 0;
    std::vector<ChartBar> bars_;

    QComboBox* comboReport_;
    QComboBox* comboSeperator_;
    QComboBox* comboChartColumn_;
    QListWidget* listItem_;
    QListWidget* selectItem_;
    QLabel* labWaiting_;
    QProgressBar* progress_;
    QPushButton *cmdUpload_, *cmdExport_, *cmdClose_, *cmdAdd_, *cmdDelete_, *cmdAddAll_, *cmdDeleteAll_;
    QPushButton *commandOpen_, *commandSave_;
    QChart* chart_;
    QChartView* chartView_;
};

}  // namespace brindale::exchange::ui
