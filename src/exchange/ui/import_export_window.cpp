#include "exchange/ui/import_export_window.h"
#include "shell/form_scaling.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>
#include <fstream>

#include "exchange/plu_export.h"
#include "shell/messages.h"
#include "shell/program_state.h"

namespace brindale::exchange::ui {

using shell::Messages;
using shell::MsgButtons;
using shell::MsgIcon;
using shell::MsgResult;

namespace {
constexpr const char* kSection = "frm_ImportOrExport";
const QString kFilter = QStringLiteral("(*.txt)");

FileChooser& chooser() {
    static FileChooser c;
    return c;
}

QString fromStd(const std::string& s) { return QString::fromStdString(s); }

bool sameName(const std::string& a, const char* b) { return QString::fromStdString(a).compare(b, Qt::CaseInsensitive) == 0; }

// A message of section msgbox with %1 filled in.
void showWith(const shell::ProgramState& state, const char* key, const std::string& arg, QWidget* parent) {
    Messages::show(fromStd(state.text("msgbox", key)).arg(fromStd(arg)), MsgIcon::Exclamation, MsgButtons::Ok, parent);
}
}  // namespace

void setFileChooser(FileChooser c) { chooser() = std::move(c); }

QString chooseFile(QWidget* parent, bool save, const QString& filter) {
    if (chooser()) return chooser()(parent, save, filter);
    return save ? QFileDialog::getSaveFileName(parent, {}, {}, filter) : QFileDialog::getOpenFileName(parent, {}, {}, filter);
}

QString actionText(const shell::ProgramState& state, ImportAction a) {
    const char* key = "";
    switch (a) {
        case ImportAction::EmptyLine: key = "actEmptyLine"; break;
        case ImportAction::TooFewValues: key = "actTooFewValues"; break;
        case ImportAction::RefusedValue: key = "actRefusedValue"; break;
        case ImportAction::TextCut: key = "actTextCut"; break;
        case ImportAction::FractionDropped: key = "actFractionDropped"; break;
        case ImportAction::Modulo256: key = "actModulo256"; break;
        case ImportAction::ItemCodeNotNumeric: key = "actItemCodeNotNumeric"; break;
        case ImportAction::PluNoZeroRemoved: key = "actPluNoZero"; break;
        case ImportAction::DuplicateKept: key = "actDuplicateKept"; break;
        case ImportAction::DuplicateReplaced: key = "actDuplicateReplaced"; break;
        case ImportAction::ReplacedByLaterLine: key = "actReplacedByLater"; break;
        case ImportAction::ExtraValues: key = "actExtraValues"; break;
    }
    return fromStd(state.text(kSection, key));
}

// ---- the import report ----

FrmImportReport::FrmImportReport(const shell::ProgramState& state, const ImportResult& result, QWidget* parent)
    : QDialog(parent), state_(state), result_(result) {
    setObjectName("frmImportReport");
    auto cap = [&](const char* key) { return fromStd(state.text(kSection, key)); };
    setWindowTitle(cap("rptTitle"));
    auto* layout = new QVBoxLayout(this);
    auto* labCounts = new QLabel(this);
    labCounts->setObjectName("labCounts");
    labCounts->setWordWrap(true);
    QString counts = cap("rptCounts").arg(result.lines).arg(result.added).arg(result.replaced);
    bool any = false;
    for (int a = 0; a < kImportActionCount; ++a)
        if (long n = result.counts[static_cast<size_t>(a)]) {
            counts += (any ? QStringLiteral(", ") : QStringLiteral("\n")) + actionText(state, static_cast<ImportAction>(a)) +
                      QStringLiteral(": ") + QString::number(n);
            any = true;
        }
    if (!any) counts += "\n" + cap("rptNone");
    labCounts->setText(counts);
    layout->addWidget(labCounts);

    gridReport_ = new QTableWidget(static_cast<int>(result.notes.size()), 5, this);
    gridReport_->setObjectName("gridReport");
    gridReport_->setHorizontalHeaderLabels({cap("rptLine"), cap("rptPLU"), cap("rptColumn"), cap("rptValue"), cap("rptDone")});
    gridReport_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    gridReport_->verticalHeader()->hide();
    for (size_t r = 0; r < result.notes.size(); ++r) {
        const ImportNote& n = result.notes[r];
        const QString cells[5] = {QString::number(n.line), fromStd(n.pluNo), fromStd(n.column), fromStd(n.value),
                                  actionText(state, n.action)};
        for (int c = 0; c < 5; ++c) gridReport_->setItem(static_cast<int>(r), c, new QTableWidgetItem(cells[c]));
    }
    gridReport_->horizontalHeader()->setStretchLastSection(true);
    gridReport_->resizeColumnsToContents();
    // A long text in the value column should not push what was done out of sight.
    if (gridReport_->columnWidth(3) > 320) gridReport_->setColumnWidth(3, 320);
    layout->addWidget(gridReport_);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    auto* save = new QPushButton(cap("rptSave"), this);
    save->setObjectName("cmdSave");
    auto* close = new QPushButton(cap("cmdClose"), this);
    close->setObjectName("cmdClose");
    buttons->addWidget(save);
    buttons->addWidget(close);
    layout->addLayout(buttons);
    connect(save, &QPushButton::clicked, this, [this] { commandSave(); });
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    resize(900, 480);
    // The system language's character set on every control.
    shell::prepareForm(this);
}

void FrmImportReport::commandSave() {
    const QString name = chooseFile(this, true, kFilter);
    if (name.isEmpty()) return;
    auto cap = [&](const char* key) { return state_.text(kSection, key); };
    const std::string text = importReportText(result_, {cap("rptLine"), cap("rptPLU"), cap("rptColumn"), cap("rptValue"), cap("rptDone")},
                                              [&](ImportAction a) { return actionText(state_, a).toStdString(); });
    const std::string path = name.toStdString();
    const std::string aside = path + ".part";
    bool ok = false;
    {
        std::ofstream out(aside, std::ios::binary | std::ios::trunc);
        out << text;
        out.flush();
        ok = static_cast<bool>(out);
    }
    ok = ok && std::rename(aside.c_str(), path.c_str()) == 0;
    if (!ok) {
        std::remove(aside.c_str());
        showWith(state_, "exportFailed", path, this);
    }
}

// ---- the import and export window ----

QString FrmImportOrExport::caption(const char* key) const { return fromStd(state_.text(kSection, key)); }

FrmImportOrExport::FrmImportOrExport(shell::ProgramState& state, QWidget* parent) : QDialog(parent), state_(state) {
    setObjectName("frmImportOrExport");
    setWindowTitle(fromStd(state.text("frmMain_Menu", "menuImportOrExport")));
    auto label = [&](const char* name) {
        auto* l = new QLabel(caption(name), this);
        l->setObjectName(name);
        return l;
    };
    auto button = [&](const char* name) {
        auto* b = new QPushButton(caption(name), this);
        b->setObjectName(name);
        return b;
    };
    auto combo = [&](const char* name) {
        auto* c = new QComboBox(this);
        c->setObjectName(name);
        return c;
    };

    auto* labData = label("labData");
    comboIorE_ = combo("comboIorE");
    comboIorE_->addItems({caption("labImport"), caption("labExport")});
    auto* labSeperator = label("labSeperator");
    comboSeperator_ = combo("comboSeperator");
    comboSeperator_->addItems({caption("tab"), caption("comma"), caption("semicolon")});

    auto* labListItem = label("labListItem");
    listItem_ = new QListWidget(this);
    listItem_->setObjectName("listItem");
    if (const auto* section = state.lang.find("ImportOrExportItem"))
        for (size_t i = 0; i < section->size(); ++i) {
            items_.push_back(section->valueAt(i));
            listItem_->addItem(fromStd(section->valueAt(i)));
        }
    auto* labSelectItem = label("labSelectItem");
    SelectItem_ = new QListWidget(this);
    SelectItem_->setObjectName("SelectItem");
    cmdAdd_ = button("cmdAdd");
    cmdDelete_ = button("cmdDelete");

    labST_No_ = label("labST_No");
    comboST_No_ = combo("comboST_No");
    labMG_No_ = label("labMG_No");
    comboMG_No_ = combo("comboMG_No");
    if (state.Conn) {
        auto stores = state.Conn->prepare("SELECT ST_No FROM STORE ORDER BY ST_No");
        while (stores->step()) comboST_No_->addItem(QString::number(stores->columnInt(0)));
        auto groups = state.Conn->prepare("SELECT DISTINCT MG_No FROM KVR_23 ORDER BY MG_No");
        while (groups->step()) comboMG_No_->addItem(QString::number(groups->columnInt(0)));
    }
    if (int i = comboST_No_->findText(QString::number(state.currentStore)); i >= 0) comboST_No_->setCurrentIndex(i);
    labBarType_ = label("labBarType");
    comboBarType_ = combo("comboBarType");
    comboBarType_->addItems({QStringLiteral("EAN"), QStringLiteral("ITF")});
    labWeightFlag_ = label("labWeightFlag");
    txtWeightFlag_ = new QLineEdit(this);
    txtWeightFlag_->setObjectName("txtWeightFlag");
    txtWeightFlag_->setMaxLength(1);
    labFontSize_ = label("labFontSize");
    comboFontSize_ = combo("comboFontSize");
    if (const auto* fonts = state.lang.find("FontSize"))
        for (size_t i = 0; i < fonts->size() && static_cast<int>(i) < kFontCodeCount; ++i)
            comboFontSize_->addItem(fromStd(fonts->valueAt(i)));
    chkPLU_ = new QCheckBox(caption("chkPLU"), this);
    chkPLU_->setObjectName("chkPLU");

    commandOpen_ = button("commandOpen");
    commandSave_ = button("commandSave");
    cmdImport_ = button("cmdImport");
    cmdExport_ = button("cmdExport");
    cmdImportReport_ = button("cmdImportReport");
    cmdImportReport_->setEnabled(false);
    cmdClose_ = button("cmdClose");
    labWaiting_ = label("labWaiting");
    prgWaiting_ = new QProgressBar(this);
    prgWaiting_->setObjectName("prgWaiting");
    prgWaiting_->setRange(0, 1000);
    labWaiting_->hide();
    prgWaiting_->hide();

    auto* grid = new QGridLayout(this);
    grid->addWidget(labData, 0, 0);
    grid->addWidget(comboIorE_, 0, 1);
    grid->addWidget(labSeperator, 0, 2);
    grid->addWidget(comboSeperator_, 0, 3);
    grid->addWidget(labListItem, 1, 0, 1, 2);
    grid->addWidget(labSelectItem, 1, 3, 1, 2);
    grid->addWidget(listItem_, 2, 0, 6, 2);
    auto* moves = new QVBoxLayout;
    moves->addStretch();
    moves->addWidget(cmdAdd_);
    moves->addWidget(cmdDelete_);
    moves->addStretch();
    grid->addLayout(moves, 2, 2, 6, 1);
    grid->addWidget(SelectItem_, 2, 3, 6, 2);
    auto* choices = new QGridLayout;
    int row = 0;
    for (auto [l, w] : std::initializer_list<std::pair<QWidget*, QWidget*>>{{labST_No_, comboST_No_},
                                                                           {labMG_No_, comboMG_No_},
                                                                           {labBarType_, comboBarType_},
                                                                           {labWeightFlag_, txtWeightFlag_},
                                                                           {labFontSize_, comboFontSize_}}) {
        choices->addWidget(l, row, 0);
        choices->addWidget(w, row, 1);
        ++row;
    }
    choices->addWidget(chkPLU_, row++, 0, 1, 2);
    choices->setRowStretch(row, 1);
    grid->addLayout(choices, 2, 5, 6, 2);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(labWaiting_);
    bottom->addWidget(prgWaiting_, 1);
    bottom->addStretch();
    for (QPushButton* b : {commandOpen_, commandSave_, cmdImport_, cmdExport_, cmdImportReport_, cmdClose_}) bottom->addWidget(b);
    grid->addLayout(bottom, 8, 0, 1, 7);

    connect(comboIorE_, &QComboBox::currentIndexChanged, this, [this] { showDirection(); });
    connect(cmdAdd_, &QPushButton::clicked, this, [this] { cmdAdd(); });
    connect(listItem_, &QListWidget::itemDoubleClicked, this, [this] { cmdAdd(); });
    connect(cmdDelete_, &QPushButton::clicked, this, [this] { cmdDelete(); });
    connect(SelectItem_, &QListWidget::itemDoubleClicked, this, [this] { cmdDelete(); });
    connect(SelectItem_, &QListWidget::currentRowChanged, this, [this](int r) { showFontFor(r); });
    connect(comboFontSize_, &QComboBox::activated, this, [this](int p) { fontChosen(p); });
    connect(commandOpen_, &QPushButton::clicked, this, [this] { commandOpen(); });
    connect(commandSave_, &QPushButton::clicked, this, [this] { commandSave(); });
    connect(cmdImport_, &QPushButton::clicked, this, [this] { cmdImport(); });
    connect(cmdExport_, &QPushButton::clicked, this, [this] { cmdExport(); });
    connect(cmdImportReport_, &QPushButton::clicked, this, [this] { cmdImportReport(); });
    connect(cmdClose_, &QPushButton::clicked, this, &QDialog::accept);
    showDirection();
    // The system language's character set on every control.
    shell::prepareForm(this);
}

std::vector<std::string> FrmImportOrExport::chosenColumns() const {
    std::vector<std::string> out;
    for (int i = 0; i < SelectItem_->count(); ++i) out.push_back(SelectItem_->item(i)->text().toStdString());
    return out;
}

void FrmImportOrExport::showDirection() { showSupplyingControls(); }

// Import shows the controls that supply what the chosen columns do not; export none of them.
void FrmImportOrExport::showSupplyingControls() {
    const bool import = comboIorE_->currentIndex() == 0;
    const auto chosen = chosenColumns();
    auto has = [&](const char* c) {
        for (const auto& s : chosen)
            if (sameName(s, c)) return true;
        return false;
    };
    cmdImport_->setVisible(import);
    cmdImportReport_->setVisible(import);
    cmdExport_->setVisible(!import);
    chkPLU_->setVisible(import);
    const bool store = import && !has("ST_No");
    labST_No_->setVisible(store);
    comboST_No_->setVisible(store);
    const bool group = import && !has("PLU_MG");
    labMG_No_->setVisible(group);
    comboMG_No_->setVisible(group);
    const bool weight = import && !has("Stat1_Unit");
    labWeightFlag_->setVisible(weight);
    txtWeightFlag_->setVisible(weight);
    const bool barType = import && !has("PLU_BarFormat") && !has("PLU_LBFormat1") && !has("PLU_EANFlags");
    labBarType_->setVisible(barType);
    comboBarType_->setVisible(barType);
    showFontFor(SelectItem_->currentRow());
}

void FrmImportOrExport::showFontFor(int r) {
    const bool import = comboIorE_->currentIndex() == 0;
    const int text = r >= 0 && r < SelectItem_->count() ? textColumnIndex(SelectItem_->item(r)->text().toStdString()) : -1;
    const bool show = import && text >= 0;
    labFontSize_->setVisible(show);
    comboFontSize_->setVisible(show);
    if (show) comboFontSize_->setCurrentIndex(fontPositions_[static_cast<size_t>(text)]);
}

void FrmImportOrExport::fontChosen(int position) {
    const int r = SelectItem_->currentRow();
    if (r < 0 || position < 0) return;
    const int text = textColumnIndex(SelectItem_->item(r)->text().toStdString());
    if (text >= 0) fontPositions_[static_cast<size_t>(text)] = position;
}

void FrmImportOrExport::cmdAdd() {
    auto* item = listItem_->currentItem();
    if (!item) return;
    for (const auto& c : chosenColumns())
        if (sameName(c, item->text().toStdString().c_str())) return;  // a column stands once
    SelectItem_->addItem(item->text());
    SelectItem_->setCurrentRow(SelectItem_->count() - 1);
    showSupplyingControls();
}

void FrmImportOrExport::cmdDelete() {
    const int r = SelectItem_->currentRow();
    if (r < 0) return;
    delete SelectItem_->takeItem(r);
    showSupplyingControls();
}

ImportSettings FrmImportOrExport::settings() const {
    ImportSettings s;
    s.separator = comboSeperator_->currentIndex();
    s.barType = comboBarType_->currentIndex();
    s.weightFlag = txtWeightFlag_->text().toStdString();
    s.fontPositions = fontPositions_;
    for (const auto& c : chosenColumns())
        for (size_t i = 0; i < items_.size(); ++i)
            if (sameName(items_[i], c.c_str())) s.items.push_back(static_cast<int>(i));
    return s;
}

void FrmImportOrExport::applySettings(const ImportSettings& s) {
    comboSeperator_->setCurrentIndex(s.separator);
    comboBarType_->setCurrentIndex(s.barType);
    txtWeightFlag_->setText(fromStd(s.weightFlag));
    fontPositions_ = s.fontPositions;
    SelectItem_->clear();
    for (int i : s.items)
        if (i >= 0 && static_cast<size_t>(i) < items_.size()) SelectItem_->addItem(fromStd(items_[static_cast<size_t>(i)]));
    showSupplyingControls();
}

void FrmImportOrExport::commandSave() {
    const QString name = chooseFile(this, true, kFilter);
    if (name.isEmpty()) return;
    std::string error;
    if (!saveImportSettings(name.toStdString(), settings(), error)) showWith(state_, "importSettingsNotSaved", error, this);
}

void FrmImportOrExport::commandOpen() {
    const QString name = chooseFile(this, false, kFilter);
    if (name.isEmpty()) return;
    ImportSettings s = settings();
    std::string error;
    if (!loadImportSettings(name.toStdString(), static_cast<int>(items_.size()), s, error)) {
        showWith(state_, "importSettingsNotRead", error, this);
        return;
    }
    applySettings(s);
}

void FrmImportOrExport::setWaiting(bool on) {
    labWaiting_->setVisible(on);
    prgWaiting_->setVisible(on);
    if (on) prgWaiting_->setValue(0);  // the bar shows the last run's end until it is hidden
    for (QPushButton* b : {commandOpen_, commandSave_, cmdImport_, cmdExport_, cmdImportReport_, cmdClose_}) b->setEnabled(!on);
    if (!on) cmdImportReport_->setEnabled(imported_ || !last_.notes.empty());
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

// Repainted a few times a second, not on every line.
bool FrmImportOrExport::progress(long long done, long long total) {
    const long long now = QDateTime::currentMSecsSinceEpoch();
    if (now - lastPaint_ < 200 && done < total) return true;
    lastPaint_ = now;
    prgWaiting_->setValue(total > 0 ? static_cast<int>(done * 1000 / total) : 0);
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    return true;
}

void FrmImportOrExport::cmdExport() {
    const auto columns = chosenColumns();
    if (columns.empty() || !state_.Conn) return;
    const bool heading = Messages::key(state_, "PLUTitle", MsgIcon::Question, MsgButtons::YesNo, this) == MsgResult::Yes;
    const QString name = chooseFile(this, true, kFilter);
    if (name.isEmpty()) return;
    ExportOptions o;
    o.columns = columns;
    o.separator = separatorByte(comboSeperator_->currentIndex()).value_or('\t');
    o.heading = heading;
    o.priceDecimals = state_.settings.PriceDecimals;
    o.weightDecimals = state_.settings.WeightDecimals;
    o.codePage = state_.codePage.get();
    o.progress = [this](long done, long total) { return progress(done, total); };
    lastPaint_ = 0;
    setWaiting(true);
    const ExportResult r = exportPlus(*state_.Conn, name.toStdString(), o);
    setWaiting(false);
    if (r.ok) Messages::key(state_, "exportOK", MsgIcon::Exclamation, MsgButtons::Ok, this);
    else showWith(state_, "exportFailed", r.error, this);
}

void FrmImportOrExport::cmdImport() {
    if (txtWeightFlag_->text().isEmpty()) {
        Messages::key(state_, "formatsave", MsgIcon::Exclamation, MsgButtons::Ok, this);
        return;
    }
    const auto columns = chosenColumns();
    int plu = 0;
    for (const auto& c : columns) plu += sameName(c, "PLU_No");
    if (plu != 1) {
        Messages::key(state_, "importPLU", MsgIcon::Exclamation, MsgButtons::Ok, this);
        return;
    }
    if (!state_.Conn) return;
    const bool heading = Messages::key(state_, "PLUTitle", MsgIcon::Question, MsgButtons::YesNo, this) == MsgResult::Yes;
    const QString name = chooseFile(this, false, kFilter);
    if (name.isEmpty() || !QFile::exists(name)) return;
    ImportOptions o;
    o.columns = columns;
    o.separator = comboSeperator_->currentIndex();
    o.heading = heading;
    o.weightFlag = txtWeightFlag_->text().trimmed().toStdString();
    o.barType = comboBarType_->currentIndex();
    for (size_t i = 0; i < 3; ++i) o.fontCodes[i] = fontCodeAt(fontPositions_[i]).value_or(0);
    o.stNo = comboST_No_->currentText().toLongLong();
    o.mgNo = comboMG_No_->currentText().toLongLong();
    o.replaceExisting = chkPLU_->isChecked();
    o.priceDecimals = state_.settings.PriceDecimals;
    o.weightDecimals = state_.settings.WeightDecimals;
    o.decimalSign = state_.settings.DecimalSign();
    o.codePage = state_.codePage.get();
    o.barcodeLists = &state_.barcodeLists;
    o.progress = [this](long long done, long long total) { return progress(done, total); };
    lastPaint_ = 0;
    setWaiting(true);
    last_ = importPlus(*state_.Conn, name.toStdString(), o);
    if (last_.outcome == ImportOutcome::Ok || last_.outcome == ImportOutcome::Faulty) imported_ = true;
    setWaiting(false);
    switch (last_.outcome) {
        case ImportOutcome::Ok: Messages::key(state_, "importOK", MsgIcon::Exclamation, MsgButtons::Ok, this); break;
        case ImportOutcome::Faulty: Messages::key(state_, "importseperator", MsgIcon::Exclamation, MsgButtons::Ok, this); break;
        case ImportOutcome::Refused:
            Messages::key(state_, last_.error == "formatsave" ? "formatsave" : "importPLU", MsgIcon::Exclamation, MsgButtons::Ok, this);
            break;
        case ImportOutcome::Failed: showWith(state_, "importFailed", last_.error, this); break;
    }
}

void FrmImportOrExport::cmdImportReport() {
    FrmImportReport report(state_, last_, this);
    report.exec();
}

}  // namespace brindale::exchange::ui
