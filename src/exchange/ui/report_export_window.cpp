#include "report_export_window.h"
#include "shell/form_scaling.h"

#include <QApplication>
#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QValueAxis>
#include <QVBoxLayout>
#include <chrono>

#include "shell/messages.h"
#include "shell/program_state.h"
#include "store/database.h"

namespace brindale::exchange::ui {

namespace {
constexpr const char* kSection = "frm_ExportReportData";

QPushButton* makeButton(QWidget* parent, const char* name, const QString& caption) {
    auto* b = new QPushButton(caption, parent);
    b->setObjectName(name);
    return b;
}
}  // namespace

ReportExportWindow::ReportExportWindow(shell::ProgramState& state, Uploader uploader, QWidget* parent)
    : QDialog(parent), state_(state), uploader_(std::move(uploader)) {
    setObjectName("frmExportReportData");
    setWindowTitle(QString::fromStdString(state_.text("frmMain_Menu", "menuExportReport")));

    auto* labReport = new QLabel(text("labReport"), this);
    labReport->setObjectName("labReport");
    comboReport_ = new QComboBox(this);
    comboReport_->setObjectName("comboReport");
    for (const auto& l : totalsLayouts()) comboReport_->addItem(QString::fromLatin1(l.title));
    auto* labSeperator = new QLabel(text("labSeperator"), this);
    labSeperator->setObjectName("labSeperator");
    comboSeperator_ = new QComboBox(this);
    comboSeperator_->setObjectName("comboSeperator");
    for (const char* k : {"tab", "comma", "semicolon"}) comboSeperator_->addItem(text(k));

    auto* labListItem = new QLabel(text("labListItem"), this);
    labListItem->setObjectName("labListItem");
    listItem_ = new QListWidget(this);
    listItem_->setObjectName("listItem");
    auto* labSelectItem = new QLabel(text("labSelectItem"), this);
    labSelectItem->setObjectName("labSelectItem");
    selectItem_ = new QListWidget(this);
    selectItem_->setObjectName("SelectItem");

    cmdAdd_ = makeButton(this, "cmdAdd", text("cmdAdd"));
    cmdAddAll_ = makeButton(this, "cmdAddAll", text("cmdAddAll"));
    cmdDelete_ = makeButton(this, "cmdDelete", text("cmdDelete"));
    cmdDeleteAll_ = makeButton(this, "cmdDeleteAll", text("cmdDeleteAll"));
    commandOpen_ = makeButton(this, "commandOpen", text("commandOpen"));
    commandSave_ = makeButton(this, "commandSave", text("commandSave"));
    cmdUpload_ = makeButton(this, "cmdUpload", text("cmdUpload"));
    cmdExport_ = makeButton(this, "cmdExport", text("cmdExport"));
    cmdClose_ = makeButton(this, "cmdClose", text("cmdClose"));

    labWaiting_ = new QLabel(text("labWaiting"), this);
    labWaiting_->setObjectName("labWaiting");
    progress_ = new QProgressBar(this);
    progress_->setObjectName("progressWaiting");
    progress_->setTextVisible(true);

    auto* labChartColumn = new QLabel(text("labChartColumn"), this);
    labChartColumn->setObjectName("labChartColumn");
    comboChartColumn_ = new QComboBox(this);
    comboChartColumn_->setObjectName("comboChartColumn");
    chart_ = new QChart();
    chart_->legend()->hide();
    chartView_ = new QChartView(chart_, this);
    chartView_->setObjectName("chartReport");
    chartView_->setRenderHint(QPainter::Antialiasing);
    chartView_->setMinimumSize(520, 300);

    // Layout: report and separator on top, the two lists with their buttons, the chart on the
    // right, the commands and the waiting line at the bottom.
    auto* top = new QGridLayout;
    top->addWidget(labReport, 0, 0);
    top->addWidget(comboReport_, 0, 1);
    top->addWidget(labSeperator, 1, 0);
    top->addWidget(comboSeperator_, 1, 1);
    auto* middle = new QVBoxLayout;
    middle->addStretch();
    for (QPushButton* b : {cmdAdd_, cmdAddAll_, cmdDelete_, cmdDeleteAll_}) middle->addWidget(b);
    middle->addSpacing(12);
    middle->addWidget(commandOpen_);
    middle->addWidget(commandSave_);
    middle->addStretch();
    auto* lists = new QGridLayout;
    lists->addWidget(labListItem, 0, 0);
    lists->addWidget(labSelectItem, 0, 2);
    lists->addWidget(listItem_, 1, 0);
    lists->addLayout(middle, 1, 1);
    lists->addWidget(selectItem_, 1, 2);
    auto* left = new QVBoxLayout;
    left->addLayout(top);
    left->addLayout(lists, 1);
    auto* right = new QVBoxLayout;
    auto* chartLine = new QHBoxLayout;
    chartLine->addWidget(labChartColumn);
    chartLine->addWidget(comboChartColumn_, 1);
    right->addLayout(chartLine);
    right->addWidget(chartView_, 1);
    auto* body = new QHBoxLayout;
    body->addLayout(left, 2);
    body->addLayout(right, 3);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(labWaiting_);
    bottom->addWidget(progress_, 1);
    bottom->addStretch();
    bottom->addWidget(cmdUpload_);
    bottom->addWidget(cmdExport_);
    bottom->addWidget(cmdClose_);
    auto* all = new QVBoxLayout(this);
    all->addLayout(body, 1);
    all->addLayout(bottom);
    resize(1180, 560);

    connect(cmdAdd_, &QPushButton::clicked, this, [this] { cmdAdd(); });
    connect(listItem_, &QListWidget::itemDoubleClicked, this, [this] { cmdAdd(); });
    connect(cmdAddAll_, &QPushButton::clicked, this, [this] { cmdAddAll(); });
    connect(cmdDelete_, &QPushButton::clicked, this, [this] { cmdDelete(); });
    connect(selectItem_, &QListWidget::itemDoubleClicked, this, [this] { cmdDelete(); });
    connect(cmdDeleteAll_, &QPushButton::clicked, this, [this] { cmdDeleteAll(); });
    connect(commandOpen_, &QPushButton::clicked, this, [this] { commandOpen(); });
    connect(commandSave_, &QPushButton::clicked, this, [this] { commandSave(); });
    connect(cmdUpload_, &QPushButton::clicked, this, [this] { cmdUpload(); });
    connect(cmdExport_, &QPushButton::clicked, this, [this] { cmdExport(); });
    connect(cmdClose_, &QPushButton::clicked, this, &QDialog::reject);
    connect(comboReport_, &QComboBox::currentIndexChanged, this, [this](int i) { reportChanged(i); });
    connect(comboChartColumn_, &QComboBox::currentIndexChanged, this, [this] { refreshChart(); });

    comboReport_->setCurrentIndex(0);
    comboSeperator_->setCurrentIndex(0);
    fillListItem();
    setListsEnabled(false);
    labWaiting_->hide();
    progress_->hide();
    refreshChart();
    // The system language's character set on every control.
    shell::prepareForm(this);
}

const TotalsLayout& ReportExportWindow::layout() const { return totalsLayouts()[size_t(report_)]; }

QString ReportExportWindow::text(const char* key) const { return QString::fromStdString(state_.text(kSection, key)); }

DecodeSettings ReportExportWindow::settings() const {
    DecodeSettings s;
    s.priceDecimals = state_.settings.PriceDecimals;
    s.weightDecimals = state_.settings.WeightDecimals;
    s.decimalSign = state_.settings.DecimalSign();
    return s;
}

void ReportExportWindow::setListsEnabled(bool on) {
    for (QWidget* w : std::initializer_list<QWidget*>{listItem_, selectItem_, cmdAdd_, cmdDelete_, cmdAddAll_,
                                                      cmdDeleteAll_, cmdExport_, commandOpen_, commandSave_})
        w->setEnabled(on);
}

void ReportExportWindow::fillListItem() {
    listItem_->clear();
    if (!state_.Conn) return;
    for (const auto& c : reportColumns(*state_.Conn, layout())) listItem_->addItem(QString::fromStdString(c));
    fillChartColumns();
}

void ReportExportWindow::fillChartColumns() {
    QSignalBlocker block(comboChartColumn_);
    comboChartColumn_->clear();
    std::vector<std::string> names;
    for (int i = 0; i < listItem_->count(); ++i) names.push_back(listItem_->item(i)->text().toStdString());
    for (const auto& c : chartColumns(layout(), names))
        comboChartColumn_->addItem(QString::fromStdString(c.name), c.column);
    // The store total opens on the day's hourly amount, the others on their first figure.
    const int preferred = comboChartColumn_->findText("Day_HourlyAmount1");
    comboChartColumn_->setCurrentIndex(preferred >= 0 ? preferred : 0);
}

void ReportExportWindow::reportChanged(int position) {
    if (position == report_ || position < 0 || position >= int(totalsLayouts().size())) return;
    report_ = position;
    setListsEnabled(false);
    selectItem_->clear();
    fillListItem();
    refreshChart();
}

void ReportExportWindow::cmdAdd() {
    QListWidgetItem* picked = listItem_->currentItem();
    if (!picked || listItem_->currentRow() < 0) return;
    for (int i = 0; i < selectItem_->count(); ++i)
        if (selectItem_->item(i)->text() == picked->text()) return;
    selectItem_->addItem(picked->text());
}

void ReportExportWindow::cmdAddAll() {
    selectItem_->clear();
    for (int i = 0; i < listItem_->count(); ++i) selectItem_->addItem(listItem_->item(i)->text());
}

void ReportExportWindow::cmdDelete() {
    const int row = selectItem_->currentRow();
    if (row < 0) return;
    delete selectItem_->takeItem(row);
    if (selectItem_->count() > 0) selectItem_->setCurrentRow(selectItem_->count() - 1);
}

void ReportExportWindow::cmdDeleteAll() { selectItem_->clear(); }

QString ReportExportWindow::chooseFile(bool save) {
    if (chooser_) return chooser_(save);
    const QString folder = QString::fromStdString(state_.appDir);
    const QString filter = "(*.txt)";
    return save ? QFileDialog::getSaveFileName(this, QString(), folder, filter)
                : QFileDialog::getOpenFileName(this, QString(), folder, filter);
}

void ReportExportWindow::showFault(const std::string& detail) {
    shell::Messages::show(QString::fromStdString(state_.text("msgbox", "reportfault")) + "\n" +
                              QString::fromStdString(detail),
                          shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
}

void ReportExportWindow::progress(long done, long total) {
    progress_->setMaximum(int(std::max<long>(total, 1)));
    progress_->setValue(int(std::min(done, std::max<long>(total, 1))));
    QApplication::processEvents();
}

void ReportExportWindow::cmdUpload() {
    const std::string id = layout().identifier;
    if (!uploader_) return;
    uploader_(id, [this] {
        const auto answer = shell::Messages::key(state_, "exportreport", shell::MsgIcon::Question,
                                                 shell::MsgButtons::YesNo, this);
        setListsEnabled(answer == shell::MsgResult::Yes);
    });
    refreshChart();
}

void ReportExportWindow::cmdExport() {
    if (!state_.Conn) return;
    ExportRequest q;
    q.layout = &layout();
    q.settings = settings();
    q.separator = comboSeperator_->currentIndex();
    for (int i = 0; i < listItem_->count(); ++i) q.columns.push_back(listItem_->item(i)->text().toStdString());
    for (int i = 0; i < selectItem_->count(); ++i) q.chosen.push_back(selectItem_->item(i)->text().toStdString());
    try {
        decodeTable(*state_.Conn, layout(), q.settings);
    } catch (const std::exception& e) {
        showFault(e.what());
        return;
    }
    if (q.chosen.empty()) return;
    q.heading = shell::Messages::key(state_, "ReportTitle", shell::MsgIcon::Question, shell::MsgButtons::YesNo,
                                     this) == shell::MsgResult::Yes;
    const QString file = chooseFile(true);
    if (file.isEmpty()) return;
    q.path = file.toStdString();
    q.decodeFirst = false;  // decoded just now
    labWaiting_->show();
    progress_->setValue(0);
    progress_->show();
    setEnabled(false);
    try {
        exportReport(*state_.Conn, q, [this](long done, long total) { progress(done, total); });
    } catch (const std::exception& e) {
        labWaiting_->hide();
        progress_->hide();
        setEnabled(true);
        showFault(e.what());
        return;
    }
    labWaiting_->hide();
    progress_->hide();
    setEnabled(true);
}

void ReportExportWindow::commandSave() {
    if (selectItem_->count() == 0) return;
    std::vector<std::string> columns, chosen;
    for (int i = 0; i < listItem_->count(); ++i) columns.push_back(listItem_->item(i)->text().toStdString());
    for (int i = 0; i < selectItem_->count(); ++i) chosen.push_back(selectItem_->item(i)->text().toStdString());
    const std::vector<int> positions = chosenPositions(columns, chosen);
    const QString file = chooseFile(true);
    if (file.isEmpty()) return;
    try {
        saveColumnSet(file.toStdString(), positions);
    } catch (const std::exception& e) {
        showFault(e.what());
    }
}

void ReportExportWindow::commandOpen() {
    const QString file = chooseFile(false);
    if (file.isEmpty() || !QFileInfo::exists(file)) return;
    const auto positions = loadColumnSet(file.toStdString(), listItem_->count());
    if (!positions) return;
    selectItem_->clear();
    for (int p : *positions) selectItem_->addItem(listItem_->item(p)->text());
    if (selectItem_->count() > 0) selectItem_->setCurrentRow(0);
}

void ReportExportWindow::refreshChart() {
    // A new chart each time: axes removed from a shown chart leave their labels painted.
    QChart* old = chart_;
    chart_ = new QChart();
    chart_->legend()->hide();
    chartView_->setChart(chart_);
    delete old;
    bars_.clear();
    const int column = comboChartColumn_->currentData().isValid() ? comboChartColumn_->currentData().toInt() : -1;
    if (state_.Conn && column >= 0) bars_ = chartBars(*state_.Conn, layout(), column, settings());
    chart_->setTitle(QString::fromLatin1(layout().title) + (column >= 0 ? " - " + comboChartColumn_->currentText() : ""));
    if (bars_.empty()) return;
    auto* set = new QBarSet(comboChartColumn_->currentText());
    QStringList labels;
    double top = 0;
    for (const auto& b : bars_) {
        *set << b.value;
        labels << (b.label.empty() ? text("chartRest") : QString::fromStdString(b.label));
        top = std::max(top, b.value);
    }
    auto* series = new QBarSeries();
    series->append(set);
    chart_->addSeries(series);
    auto* x = new QBarCategoryAxis();
    x->append(labels);
    if (labels.size() > 12) x->setLabelsAngle(-90);
    chart_->addAxis(x, Qt::AlignBottom);
    series->attachAxis(x);
    auto* y = new QValueAxis();
    y->setRange(0, top > 0 ? top * 1.1 : 1);
    y->applyNiceNumbers();
    y->setLabelFormat(top < 10 ? "%.2f" : "%.0f");
    chart_->addAxis(y, Qt::AlignLeft);
    series->attachAxis(y);
}

}  // namespace brindale::exchange::ui
