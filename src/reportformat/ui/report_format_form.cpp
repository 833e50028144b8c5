#include "reportformat/ui/report_format_form.h"
#include "shell/form_scaling.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFocusEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QScrollBar>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>

#include "codec/code_page.h"
#include "shell/lifecycle.h"
#include "shell/messages.h"
#include "shell/program_state.h"
#include "store/database.h"

namespace brindale::reportformat::ui {

// The canvas of a preview: the drawn image (the "bak" picture) shown from the scroll bar's value
// down, so that scrolling never draws the report again.
class PreviewCanvas : public QWidget {
public:
    explicit PreviewCanvas(QWidget* parent) : QWidget(parent) { setMinimumSize(200, 160); }
    // The scroll bar that moves the image; its range follows the image and the canvas's height.
    void setScrollBar(QScrollBar* bar) { bar_ = bar; }
    void setImage(const QImage& img) {
        image_ = img;
        updateRange();
        update();
    }
    void setOffset(int y) {
        offset_ = y;
        update();
    }
    int overflow() const { return std::max(0, image_.height() - height()); }

protected:
    void resizeEvent(QResizeEvent*) override { updateRange(); }
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), QColor(128, 128, 128));
        const int x = std::max(0, (width() - image_.width()) / 2);
        p.drawImage(QPoint(x, -offset_), image_);
    }

private:
    void updateRange() {
        if (bar_) {
            bar_->setRange(0, overflow());
            bar_->setPageStep(std::max(1, height()));
            bar_->setSingleStep(16);
        }
    }
    QImage image_;
    int offset_ = 0;
    QScrollBar* bar_ = nullptr;
};

namespace {

constexpr int kNoColumn = 0, kTextColumn = 1, kFontColumn = 2;

QString qs(const std::string& s) { return QString::fromStdString(s); }

// Digits only, at most `maxLength` of them as typed; Backspace and Delete edit as usual. A value
// that comes longer from the table is shown whole (no maxLength cut), so that the save can name it.
void setDigits(QLineEdit* e, int maxLength) {
    delete e->validator();
    e->setValidator(new QRegularExpressionValidator(
        QRegularExpression(QString("[0-9]{0,%1}").arg(maxLength)), e));
}

QLineEdit* numberField(QWidget* parent, const char* name, int maxLength) {
    auto* e = new QLineEdit(parent);
    e->setObjectName(name);
    setDigits(e, maxLength);
    return e;
}

QComboBox* combo(QWidget* parent, const char* name) {
    auto* c = new QComboBox(parent);
    c->setObjectName(name);
    return c;
}

// A text without control characters (typed, pasted or set).
QString withoutControls(const QString& t) {
    QString out;
    out.reserve(t.size());
    for (QChar c : t)
        if (c.unicode() >= 32 && c.unicode() != 127) out += c;
    return out;
}

}  // namespace

FrmReportFormat::FrmReportFormat(shell::ProgramState& state, Runner runner, QWidget* parent)
    : QDialog(parent), state_(state), runner_(std::move(runner)) {
    setObjectName("frmReportFormat");
    setModal(true);
    catalogue_ = ReportCatalogue::from([this](const char* s) { return sectionValues(s); });
    buildWidgets();
    setCaptions();
    loading_ = true;
    fillLists();
    txtLabelHeight_->setText("40");
    loading_ = false;
    loadFormat(1);
    loadSequence(1);
    resize(1180, 760);
    // The system language's character set on every control.
    shell::prepareForm(this);
}

FrmReportFormat::~FrmReportFormat() = default;

QString FrmReportFormat::text(const char* key) const { return qs(state_.text("frm_ReportFormat", key)); }

const codec::CodePage& FrmReportFormat::page() const {
    if (state_.codePage) return *state_.codePage;
    static const codec::CodePage system = codec::CodePage::forSystem();
    return system;
}

std::vector<std::string> FrmReportFormat::sectionValues(const std::string& section) const {
    std::vector<std::string> v;
    if (const auto* t = state_.lang.find(section))
        for (std::size_t i = 0; i < t->size(); ++i) v.push_back(t->valueAt(i));
    return v;
}

int FrmReportFormat::scaleType() const { return state_.settings.ScaleTypeIndex; }

int FrmReportFormat::limitOf(uint8_t font) const {
    return lineLimit(font).value_or(*lineLimit(defaultFontCode(scaleType())));
}

QString FrmReportFormat::fontName(uint8_t code) const {
    if (auto p = fontPosition(scaleType(), code)) return qs(fontsFor(scaleType())[static_cast<std::size_t>(*p)].name);
    return QString::number(code);
}

// ---------------------------------------------------------------- the widgets

void FrmReportFormat::buildWidgets() {
    auto label = [this](const char* name, const char* key) {
        auto* l = new QLabel(this);
        l->setObjectName(name);
        captions_.push_back({l, key});
        return l;
    };
    // ---- format half
    comboRptFormatNo_ = combo(this, "comboRptFormatNo");
    comboRptFormatType_ = combo(this, "comboRptFormatType");
    comboRptFormatStatus_ = combo(this, "comboRptFormatStatus");
    comboRptFormatItem_ = combo(this, "comboRptFormatItem");
    txtStartNo_ = numberField(this, "txtStartNo", 8);
    txtEndNo_ = numberField(this, "txtEndNo", 8);
    txtConditionNo_ = numberField(this, "txtConditionNo", 3);

    gridString_ = new QTableWidget(1, 3, this);
    gridString_->setObjectName("gridString");
    gridString_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    gridString_->setSelectionMode(QAbstractItemView::SingleSelection);
    gridString_->verticalHeader()->hide();
    gridString_->horizontalHeader()->setSectionResizeMode(kNoColumn, QHeaderView::ResizeToContents);
    gridString_->horizontalHeader()->setSectionResizeMode(kTextColumn, QHeaderView::Stretch);
    gridString_->horizontalHeader()->setSectionResizeMode(kFontColumn, QHeaderView::ResizeToContents);
    gridString_->installEventFilter(this);
    txtGrid_ = new QLineEdit(gridString_->viewport());
    txtGrid_->setObjectName("txtGrid");
    txtGrid_->hide();
    txtGrid_->installEventFilter(this);
    CobFont_ = new QComboBox(gridString_->viewport());
    CobFont_->setObjectName("CobFont");
    CobFont_->hide();
    for (const FontChoice& f : fontsFor(scaleType())) CobFont_->addItem(qs(f.name), f.code);

    cmdAppend_ = new QPushButton(this);
    cmdAppend_->setObjectName("cmdAppend");
    cmdInsert_ = new QPushButton(this);
    cmdInsert_->setObjectName("cmdInsert");
    cmdDelete_ = new QPushButton(this);
    cmdDelete_->setObjectName("cmdDelete");
    cmdSaveFN_ = new QPushButton(this);
    cmdSaveFN_->setObjectName("cmdSaveFN");
    cmdDownloadFN_ = new QPushButton(this);
    cmdDownloadFN_->setObjectName("cmdDownloadFN");
    picDisplayReport_ = new PreviewCanvas(this);
    picDisplayReport_->setObjectName("picDisplayReport");
    VScrollDisplayReport_ = new QScrollBar(Qt::Vertical, this);
    VScrollDisplayReport_->setObjectName("VScrollDisplayReport");

    // ---- sequence half
    comboRptFormatSeqNo_ = combo(this, "comboRptFormatSeqNo");
    for (int k = 0; k < kSequenceSlots; ++k) {
        const std::string name = "txtSeqNo_" + std::to_string(k);
        txtSeqNo_[static_cast<std::size_t>(k)] = numberField(this, name.c_str(), 8);
    }
    comboResetRpt_ = combo(this, "comboResetRpt");
    chkpassword_ = new QCheckBox(this);
    chkpassword_->setObjectName("chkpassword");
    comboPrintType_ = combo(this, "comboPrintType");
    txtLabelHeight_ = numberField(this, "txtLabelHeight", 3);
    labLabelHeight_ = label("labLabelHeight", "labLabelHeight");
    labMM_ = label("labMM", "labMM");
    cmdSaveSN_ = new QPushButton(this);
    cmdSaveSN_->setObjectName("cmdSaveSN");
    cmdDownloadSN_ = new QPushButton(this);
    cmdDownloadSN_->setObjectName("cmdDownloadSN");
    picDisplayReportSeq_ = new PreviewCanvas(this);
    picDisplayReportSeq_->setObjectName("picDisplayReportSeq");
    VScrollDisplayReportSeq_ = new QScrollBar(Qt::Vertical, this);
    VScrollDisplayReportSeq_->setObjectName("VScrollDisplayReportSeq");
    chkNames_ = new QCheckBox(this);
    chkNames_->setObjectName("chkNames");
    comboZoom_ = combo(this, "comboZoom");
    for (int z : {50, 75, 100, 150, 200, 300, 400}) comboZoom_->addItem(QString::number(z) + " %", z);
    comboZoom_->setCurrentIndex(2);

    for (QPushButton* b : {cmdAppend_, cmdInsert_, cmdDelete_, cmdSaveFN_, cmdDownloadFN_, cmdSaveSN_, cmdDownloadSN_}) {
        b->setAutoDefault(false);
        b->setDefault(false);
    }

    // ---- layout
    auto* fmt = new QGridLayout;
    int r = 0;
    fmt->addWidget(label("lblrptformatNo", "lblrptformatNo"), r, 0);
    fmt->addWidget(comboRptFormatNo_, r, 1);
    fmt->addWidget(label("lblType", "lblType"), r, 2);
    fmt->addWidget(comboRptFormatType_, r++, 3);
    fmt->addWidget(label("lblStartNo", "lblStartNo"), r, 0);
    fmt->addWidget(txtStartNo_, r, 1);
    fmt->addWidget(label("lblEndNo", "lblEndNo"), r, 2);
    fmt->addWidget(txtEndNo_, r++, 3);
    fmt->addWidget(label("lblStatus", "lblStatus"), r, 0);
    fmt->addWidget(comboRptFormatStatus_, r, 1);
    fmt->addWidget(label("lblCondition", "lblCondition"), r, 2);
    fmt->addWidget(txtConditionNo_, r++, 3);
    fmt->addWidget(label("lblItem", "lblItem"), r, 0);
    fmt->addWidget(comboRptFormatItem_, r++, 1, 1, 3);
    auto* lineButtons = new QHBoxLayout;
    for (QPushButton* b : {cmdAppend_, cmdInsert_, cmdDelete_}) lineButtons->addWidget(b);
    lineButtons->addStretch();
    lineButtons->addWidget(cmdSaveFN_);
    lineButtons->addWidget(cmdDownloadFN_);
    auto* left = new QVBoxLayout;
    left->addLayout(fmt);
    left->addWidget(gridString_, 3);
    left->addLayout(lineButtons);
    left->addWidget(label("lblPreview", "lblPreview"));
    auto* pv = new QHBoxLayout;
    pv->addWidget(picDisplayReport_, 1);
    pv->addWidget(VScrollDisplayReport_);
    left->addLayout(pv, 4);

    auto* seq = new QGridLayout;
    r = 0;
    seq->addWidget(label("lblrptformatseqNo", "lblrptformatseqNo"), r, 0);
    seq->addWidget(comboRptFormatSeqNo_, r++, 1, 1, 4);
    seq->addWidget(label("lblSeq", "lblSeq"), r++, 0, 1, 5);
    for (int k = 0; k < kSequenceSlots; ++k) seq->addWidget(txtSeqNo_[static_cast<std::size_t>(k)], r + k / 5, k % 5);
    r += 2;
    seq->addWidget(label("lblReset", "lblReset"), r, 0);
    seq->addWidget(comboResetRpt_, r++, 1, 1, 4);
    seq->addWidget(chkpassword_, r++, 0, 1, 5);
    seq->addWidget(label("lblPrintType", "lblPrintType"), r, 0);
    seq->addWidget(comboPrintType_, r++, 1, 1, 4);
    seq->addWidget(labLabelHeight_, r, 0);
    seq->addWidget(txtLabelHeight_, r, 1);
    seq->addWidget(labMM_, r++, 2);
    auto* seqButtons = new QHBoxLayout;
    seqButtons->addStretch();
    seqButtons->addWidget(cmdSaveSN_);
    seqButtons->addWidget(cmdDownloadSN_);
    auto* right = new QVBoxLayout;
    right->addLayout(seq);
    right->addLayout(seqButtons);
    auto* view = new QHBoxLayout;
    view->addWidget(label("lblSeqPreview", "lblSeqPreview"));
    view->addStretch();
    view->addWidget(chkNames_);
    view->addWidget(label("lblZoom", "lblZoom"));
    view->addWidget(comboZoom_);
    right->addLayout(view);
    auto* sv = new QHBoxLayout;
    sv->addWidget(picDisplayReportSeq_, 1);
    sv->addWidget(VScrollDisplayReportSeq_);
    right->addLayout(sv, 1);

    auto* outer = new QHBoxLayout(this);
    outer->addLayout(left, 1);
    outer->addLayout(right, 1);

    // ---- signals
    connect(comboRptFormatNo_, &QComboBox::currentIndexChanged, this, &FrmReportFormat::onFormatNo);
    connect(comboRptFormatSeqNo_, &QComboBox::currentIndexChanged, this, &FrmReportFormat::onSeqNo);
    connect(comboRptFormatType_, &QComboBox::currentIndexChanged, this, &FrmReportFormat::onType);
    connect(comboRptFormatStatus_, &QComboBox::currentIndexChanged, this, &FrmReportFormat::onStatus);
    connect(comboPrintType_, &QComboBox::currentIndexChanged, this, &FrmReportFormat::onPrintType);
    connect(comboRptFormatItem_, &QComboBox::activated, this, &FrmReportFormat::onItem);
    connect(CobFont_, &QComboBox::currentIndexChanged, this, &FrmReportFormat::onFont);
    connect(txtGrid_, &QLineEdit::textChanged, this, &FrmReportFormat::onTxtGrid);
    for (QLineEdit* e : {txtStartNo_, txtEndNo_, txtConditionNo_}) {
        connect(e, &QLineEdit::textEdited, this, [this] { markFormatChanged(); });
        e->installEventFilter(this);
    }
    for (QLineEdit* e : txtSeqNo_) {
        connect(e, &QLineEdit::textEdited, this, [this] {
            markSeqChanged();
            DisplayReportSeqAny();
        });
        e->installEventFilter(this);
    }
    connect(chkpassword_, &QCheckBox::toggled, this, [this] { markSeqChanged(); });
    connect(comboResetRpt_, &QComboBox::currentIndexChanged, this, [this] { markSeqChanged(); });
    connect(txtLabelHeight_, &QLineEdit::textChanged, this, [this] { DisplayReportSeqAny(); });
    connect(chkNames_, &QCheckBox::toggled, this, [this] {
        DisplayReport();
        DisplayReportSeqAny();
    });
    connect(comboZoom_, &QComboBox::currentIndexChanged, this, [this] {
        DisplayReport();
        DisplayReportSeqAny();
    });
    connect(gridString_, &QTableWidget::cellClicked, this, [this](int row, int col) { editCell(row, col); });
    connect(cmdAppend_, &QPushButton::clicked, this, [this] { cmdAppend(); });
    connect(cmdInsert_, &QPushButton::clicked, this, [this] { cmdInsert(); });
    connect(cmdDelete_, &QPushButton::clicked, this, [this] { cmdDelete(); });
    connect(cmdSaveFN_, &QPushButton::clicked, this, [this] { cmdSaveFN(); });
    connect(cmdSaveSN_, &QPushButton::clicked, this, [this] { cmdSaveSN(); });
    connect(cmdDownloadFN_, &QPushButton::clicked, this, [this] { cmdDownloadFN(); });
    connect(cmdDownloadSN_, &QPushButton::clicked, this, [this] { cmdDownloadSN(); });
    picDisplayReport_->setScrollBar(VScrollDisplayReport_);
    picDisplayReportSeq_->setScrollBar(VScrollDisplayReportSeq_);
    connect(VScrollDisplayReport_, &QScrollBar::valueChanged, picDisplayReport_, &PreviewCanvas::setOffset);
    connect(VScrollDisplayReportSeq_, &QScrollBar::valueChanged, picDisplayReportSeq_, &PreviewCanvas::setOffset);
    // The cell editors follow their cell when the grid scrolls.
    connect(gridString_->verticalScrollBar(), &QScrollBar::valueChanged, this, [this] {
        if (editingRow_ >= 0) txtGrid_->setGeometry(gridString_->visualRect(gridString_->model()->index(editingRow_, kTextColumn)));
        if (fontRow_ >= 0) CobFont_->setGeometry(gridString_->visualRect(gridString_->model()->index(fontRow_, kFontColumn)));
    });
}

void FrmReportFormat::setCaptions() {
    setWindowTitle(text("frmTitle"));
    for (auto& [l, key] : captions_) l->setText(text(key));
    cmdAppend_->setText(text("cmdAppend"));
    cmdInsert_->setText(text("cmdInsert"));
    cmdDelete_->setText(text("cmdDelete"));
    cmdSaveFN_->setText(text("cmdSave"));
    cmdSaveSN_->setText(text("cmdSave"));
    cmdDownloadFN_->setText(text("cmdDownload"));
    cmdDownloadSN_->setText(text("cmdDownload"));
    chkpassword_->setText(text("chkpassword"));
    chkNames_->setText(text("chkNames"));
    gridString_->setHorizontalHeaderLabels({text("colNo"), text("colText"), text("colFont")});
}

void FrmReportFormat::fillLists() {
    for (int n = 1; n <= kMaxNumber; ++n) {
        comboRptFormatNo_->addItem(QString::number(n));
        comboRptFormatSeqNo_->addItem(QString::number(n));
    }
    for (const std::string& t : sectionValues("Reportformat_Type")) comboRptFormatType_->addItem(qs(t));
    for (const std::string& t : sectionValues("Reportformat_ConditionStatus")) comboRptFormatStatus_->addItem(qs(t));
    for (const std::string& t : sectionValues("Reportformat_ResetReport")) comboResetRpt_->addItem(qs(t));
    for (const std::string& t : sectionValues("Reportformat_PrintType")) comboPrintType_->addItem(qs(t));
}

// ---------------------------------------------------------------- loading

void FrmReportFormat::loadFormat(int number) {
    loading_ = true;
    closeCell();
    FormatFields f;
    if (state_.Conn) OpenRptData(*state_.Conn, number, f);
    comboRptFormatNo_->setCurrentIndex(number - 1);
    comboRptFormatType_->setCurrentIndex(f.typePosition);
    txtStartNo_->setText(qs(f.startNo));
    txtEndNo_->setText(qs(f.endNo));
    comboRptFormatStatus_->setCurrentIndex(f.statusPosition);
    applyStatus(f.statusPosition, false);
    txtConditionNo_->setText(qs(f.conditionNo));
    txtStartNo_->setEnabled(f.rangeEnabled());
    txtEndNo_->setEnabled(f.rangeEnabled());
    fillItems(f.typePosition);
    FormatData = f.data;
    LineText.clear();
    LineFont.clear();
    std::optional<std::size_t> damageAt;
    if (FormatData) {
        const ParsedStream p = parseLineStream(*FormatData);
        std::size_t offset = 0;
        for (const Line& l : p.lines) {
            const uint8_t font = effectiveFont(scaleType(), l.font);
            std::string utf8 = page().decode(reinterpret_cast<const uint8_t*>(l.text.data()), l.text.size());
            // A line over its font's limit (a hand-edited table) is shown as it stands and named.
            if (!damageAt && lineBytes(utf8, catalogue_, page()) > static_cast<std::size_t>(limitOf(font)))
                damageAt = offset;
            LineText.push_back(std::move(utf8));
            LineFont.push_back(font);
            offset += l.text.size() + 3;
        }
        if (p.damage && (!damageAt || p.damage->offset < *damageAt)) damageAt = p.damage->offset;
    }
    if (LineText.empty()) {
        LineText.push_back({});
        LineFont.push_back(defaultFontCode(scaleType()));
    }
    LastFormatNo = number - 1;
    LastTypeNo = f.typePosition;
    FormatSaved = 1;
    GridRow = 0;
    fillGrid();
    loading_ = false;
    DisplayReport();
    if (damageAt)
        shell::Messages::show(qs(shell::fillIn(state_.text("frm_ReportFormat", "rptDamaged"),
                                               {std::to_string(number), std::to_string(kFormatHeader + *damageAt)})),
                              shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
}

void FrmReportFormat::loadSequence(int number) {
    loading_ = true;
    SequenceFields s;
    if (state_.Conn) OpenRptSeq(*state_.Conn, number, s);
    comboRptFormatSeqNo_->setCurrentIndex(number - 1);
    for (int k = 0; k < kSequenceSlots; ++k) txtSeqNo_[static_cast<std::size_t>(k)]->setText(qs(s.seqNo[static_cast<std::size_t>(k)]));
    comboResetRpt_->setCurrentIndex(s.resetPosition);
    chkpassword_->setChecked(s.password);
    comboPrintType_->setCurrentIndex(s.printType);
    LastSeqNo = number - 1;
    onPrintType(comboPrintType_->currentIndex());
    SeqSaved = 1;
    loading_ = false;
    DisplayReportSeqAny();
}

void FrmReportFormat::fillItems(int typePosition) {
    comboRptFormatItem_->clear();
    if (typePosition < 0 || typePosition >= kTypeCount) return;
    for (const std::string& item : catalogue_.lists[static_cast<std::size_t>(typePosition)].items)
        comboRptFormatItem_->addItem(qs(item));
    comboRptFormatItem_->setCurrentIndex(-1);
}

void FrmReportFormat::fillRow(int row) {
    for (int c : {kNoColumn, kTextColumn, kFontColumn})
        if (!gridString_->item(row, c)) {
            auto* item = new QTableWidgetItem;
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
            gridString_->setItem(row, c, item);
        }
    gridString_->item(row, kNoColumn)->setText(QString::number(row + 1));
    gridString_->item(row, kTextColumn)->setText(qs(LineText[static_cast<std::size_t>(row)]));
    gridString_->item(row, kFontColumn)->setText(fontName(LineFont[static_cast<std::size_t>(row)]));
}

void FrmReportFormat::fillGrid() {
    gridString_->setRowCount(lineCount());
    for (int r = 0; r < lineCount(); ++r) fillRow(r);
    refreshButtons();
}

void FrmReportFormat::refreshButtons() {
    const int n = lineCount();
    cmdAppend_->setEnabled(!LineText.back().empty() && n < kMaxLines);
    cmdInsert_->setEnabled(n < kMaxLines);
    cmdDelete_->setEnabled(n > 1 || !LineText.front().empty());
}

// ---------------------------------------------------------------- the lists

bool FrmReportFormat::askSaveAll() {
    return shell::Messages::key(state_, "rptformatallsave", shell::MsgIcon::Question, shell::MsgButtons::YesNo, this) ==
           shell::MsgResult::Yes;
}

void FrmReportFormat::onFormatNo(int index) {
    if (loading_ || index < 0) return;
    if (FormatSaved != 1 &&
        shell::Messages::key(state_, "rptformatsave", shell::MsgIcon::Question, shell::MsgButtons::YesNo, this) !=
            shell::MsgResult::Yes) {
        QSignalBlocker b(comboRptFormatNo_);
        comboRptFormatNo_->setCurrentIndex(LastFormatNo);
        return;
    }
    loadFormat(index + 1);
}

void FrmReportFormat::onSeqNo(int index) {
    if (loading_ || index < 0) return;
    if (SeqSaved != 1 &&
        shell::Messages::key(state_, "rptformatseqsave", shell::MsgIcon::Question, shell::MsgButtons::YesNo, this) !=
            shell::MsgResult::Yes) {
        QSignalBlocker b(comboRptFormatSeqNo_);
        comboRptFormatSeqNo_->setCurrentIndex(LastSeqNo);
        return;
    }
    loadSequence(index + 1);
}

void FrmReportFormat::onType(int index) {
    if (loading_ || index < 0) return;
    if (!LineText.front().empty() && index != LastTypeNo &&
        shell::Messages::key(state_, "rptformattype", shell::MsgIcon::Question, shell::MsgButtons::YesNo, this) !=
            shell::MsgResult::Yes) {
        QSignalBlocker b(comboRptFormatType_);
        comboRptFormatType_->setCurrentIndex(LastTypeNo);
        return;
    }
    closeCell();
    LineText.assign(1, std::string());
    LineFont.assign(1, defaultFontCode(scaleType()));
    FormatData.reset();
    GridRow = 0;
    fillGrid();
    fillItems(index);
    txtStartNo_->setEnabled(typeHasRange(index));
    txtEndNo_->setEnabled(typeHasRange(index));
    LastTypeNo = index;
    FormatSaved = 0;
    DisplayReport();
}

void FrmReportFormat::applyStatus(int position, bool cut) {
    if (position == 0) {
        setDigits(txtConditionNo_, 8);
        txtConditionNo_->setText("0");
        txtConditionNo_->setEnabled(false);
        return;
    }
    const int length = position == 1 ? 3 : 2;
    txtConditionNo_->setEnabled(true);
    if (cut) txtConditionNo_->setText(txtConditionNo_->text().left(length));
    setDigits(txtConditionNo_, length);
}

void FrmReportFormat::onStatus(int index) {
    if (loading_ || index < 0) return;
    applyStatus(index, true);
    FormatSaved = 0;
}

void FrmReportFormat::onPrintType(int index) {
    const bool label = index > 0;
    txtLabelHeight_->setVisible(label);
    labLabelHeight_->setVisible(label);
    labMM_->setVisible(label);
    if (loading_) return;
    markSeqChanged();  // the print type is stored in the sequence's status
    DisplayReportSeqAny();
}

void FrmReportFormat::markFormatChanged() { FormatSaved = 0; }
void FrmReportFormat::markSeqChanged() {
    if (!loading_) SeqSaved = 0;
}

// ---------------------------------------------------------------- the lines

void FrmReportFormat::editCell(int row, int column) {
    if (row < 0 || row >= lineCount()) return;
    auto place = [this](QWidget* w, int r, int c) {
        w->setGeometry(gridString_->visualRect(gridString_->model()->index(r, c)));
        w->show();
        w->raise();
    };
    GridRow = row;
    GridCol = column;
    gridString_->setCurrentCell(row, column);
    if (column == kFontColumn) {
        txtGrid_->hide();
        editingRow_ = -1;
        fontRow_ = -1;  // no change while the list is set to the line's font
        const auto pos = fontPosition(scaleType(), LineFont[static_cast<std::size_t>(row)]);
        CobFont_->setCurrentIndex(pos.value_or(defaultFontPosition(scaleType())));
        fontRow_ = row;
        place(CobFont_, row, kFontColumn);
        CobFont_->setFocus();
        return;
    }
    CobFont_->hide();
    fontRow_ = -1;
    if (editingRow_ != row) {
        editingRow_ = -1;  // no change while the text is put in
        accepted_ = qs(LineText[static_cast<std::size_t>(row)]);
        txtGrid_->setText(accepted_);
        editingRow_ = row;
    }
    place(txtGrid_, row, kTextColumn);
    txtGrid_->setFocus();
}

void FrmReportFormat::closeCell() {
    editingRow_ = -1;
    fontRow_ = -1;
    txtGrid_->hide();
    CobFont_->hide();
}

void FrmReportFormat::onTxtGrid(const QString& typed) {
    if (editingRow_ < 0) return;
    const int row = editingRow_;
    const QString clean = withoutControls(typed);
    const auto limit = static_cast<std::size_t>(limitOf(LineFont[static_cast<std::size_t>(row)]));
    if (lineBytes(clean.toStdString(), catalogue_, page()) > limit) {
        // Refused: the field goes back to its last text, the caret where the typing began.
        const int caret = txtGrid_->cursorPosition() - static_cast<int>(typed.size() - accepted_.size());
        QSignalBlocker b(txtGrid_);
        txtGrid_->setText(accepted_);
        txtGrid_->setCursorPosition(std::clamp(caret, 0, static_cast<int>(accepted_.size())));
        return;
    }
    if (clean != typed) {
        const int caret = txtGrid_->cursorPosition() - static_cast<int>(typed.size() - clean.size());
        QSignalBlocker b(txtGrid_);
        txtGrid_->setText(clean);
        txtGrid_->setCursorPosition(std::clamp(caret, 0, static_cast<int>(clean.size())));
    }
    accepted_ = clean;
    LineText[static_cast<std::size_t>(row)] = clean.toStdString();
    fillRow(row);
    FormatSaved = 0;
    refreshButtons();
    DisplayReport();
}

void FrmReportFormat::onFont(int index) {
    if (fontRow_ < 0 || index < 0) return;
    const int row = fontRow_;
    const auto code = static_cast<uint8_t>(CobFont_->itemData(index).toInt());
    auto& text = LineText[static_cast<std::size_t>(row)];
    LineFont[static_cast<std::size_t>(row)] = code;
    const auto limit = static_cast<std::size_t>(limitOf(code));
    if (lineBytes(text, catalogue_, page()) > limit) text = cutLine(text, limit, catalogue_, page());
    fillRow(row);
    FormatSaved = 0;
    refreshButtons();
    DisplayReport();
}

void FrmReportFormat::onItem(int index) {
    if (editingRow_ < 0 || index < 0 || LastTypeNo < 0 || LastTypeNo >= kTypeCount) return;
    const auto& numbers = catalogue_.lists[static_cast<std::size_t>(LastTypeNo)].numbers;
    if (index >= static_cast<int>(numbers.size())) return;
    const QString ph = qs(placeholder(numbers[static_cast<std::size_t>(index)]));
    const int caret = txtGrid_->cursorPosition();
    const QString t = txtGrid_->text();
    const QString next = t.left(caret) + ph + t.mid(caret);
    const auto limit = static_cast<std::size_t>(limitOf(LineFont[static_cast<std::size_t>(editingRow_)]));
    if (lineBytes(next.toStdString(), catalogue_, page()) > limit) return;  // refused silently, like a key
    txtGrid_->setText(next);
    txtGrid_->setCursorPosition(caret + static_cast<int>(ph.size()));
    txtGrid_->setFocus();
}

void FrmReportFormat::cmdAppend() {
    if (LineText.back().empty() || lineCount() >= kMaxLines) return;
    closeCell();
    LineText.push_back({});
    LineFont.push_back(LineFont.back());
    fillGrid();
    FormatSaved = 0;
    DisplayReport();
    editCell(lineCount() - 1, kTextColumn);
}

void FrmReportFormat::cmdInsert() {
    if (lineCount() >= kMaxLines) return;
    const int row = std::clamp(GridRow, 0, lineCount() - 1);
    closeCell();
    LineText.insert(LineText.begin() + row, std::string());
    LineFont.insert(LineFont.begin() + row, LineFont[static_cast<std::size_t>(row)]);
    fillGrid();
    FormatSaved = 0;
    DisplayReport();
    editCell(row, kTextColumn);
}

void FrmReportFormat::cmdDelete() {
    const int row = std::clamp(GridRow, 0, lineCount() - 1);
    closeCell();
    if (lineCount() == 1) {
        LineText.front().clear();
    } else {
        LineText.erase(LineText.begin() + row);
        LineFont.erase(LineFont.begin() + row);
    }
    GridRow = std::min(row, lineCount() - 1);
    fillGrid();
    gridString_->setCurrentCell(GridRow, kTextColumn);
    FormatSaved = 0;
    DisplayReport();
}

// ---------------------------------------------------------------- save and send

FormatFields FrmReportFormat::formatFields() const {
    FormatFields f;
    f.typePosition = comboRptFormatType_->currentIndex();
    f.startNo = txtStartNo_->text().toStdString();
    f.endNo = txtEndNo_->text().toStdString();
    f.conditionNo = txtConditionNo_->text().toStdString();
    f.statusPosition = std::max(comboRptFormatStatus_->currentIndex(), 0);
    f.data = FormatData;
    return f;
}

SequenceFields FrmReportFormat::sequenceFields() const {
    SequenceFields s;
    for (int k = 0; k < kSequenceSlots; ++k)
        s.seqNo[static_cast<std::size_t>(k)] = txtSeqNo_[static_cast<std::size_t>(k)]->text().toStdString();
    s.resetPosition = std::max(comboResetRpt_->currentIndex(), 0);
    s.password = chkpassword_->isChecked();
    s.printType = std::max(comboPrintType_->currentIndex(), 0);
    return s;
}

bool FrmReportFormat::cmdSaveFN() {
    if (!state_.Conn) return false;
    if (!LineText.front().empty() || lineCount() != 1) {
        std::vector<Line> lines;
        std::vector<uint8_t> bytes;
        for (int k = 0; k < lineCount(); ++k) {
            page().encode(LineText[static_cast<std::size_t>(k)], bytes);
            lines.push_back({LineFont[static_cast<std::size_t>(k)], std::string(bytes.begin(), bytes.end())});
        }
        FormatData = buildLineStream(lines);
    } else {
        FormatData.reset();
    }
    const SaveResult r = SaveRptData(*state_.Conn, comboRptFormatNo_->currentIndex() + 1, formatFields());
    if (!r.ok()) {
        shell::Messages::show(qs(shell::fillIn(state_.text("frm_ReportFormat", "rptBadNumber"),
                                               {r.table, std::to_string(r.number), r.column, r.value})),
                              shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return false;
    }
    DisplayReportSeqAny();
    FormatSaved = 1;
    return true;
}

bool FrmReportFormat::cmdSaveSN() {
    if (!state_.Conn) return false;
    const SequenceFields s = sequenceFields();
    if (resetConflict(*state_.Conn, s.seqNo, s.resetPosition)) {
        shell::Messages::key(state_, "rptformatresettype", shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return false;
    }
    const SaveResult r = SaveRptSeq(*state_.Conn, comboRptFormatSeqNo_->currentIndex() + 1, s);
    if (!r.ok()) {
        shell::Messages::show(qs(shell::fillIn(state_.text("frm_ReportFormat", "rptBadNumber"),
                                               {r.table, std::to_string(r.number), r.column, r.value})),
                              shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return false;
    }
    SeqSaved = 1;
    DisplayReportSeqAny();
    return true;
}

transfer::FlowOutcome FrmReportFormat::cmdDownloadFN() {
    transfer::FlowHooks hooks;
    hooks.askUnsaved = [this] { return FormatSaved == 1 || askSaveAll(); };
    if (!runner_) return {};
    return runner_(transfer::Flow::ReportFormatFN, hooks);
}

transfer::FlowOutcome FrmReportFormat::cmdDownloadSN() {
    transfer::FlowHooks hooks;
    hooks.askUnsaved = [this] { return SeqSaved == 1 || askSaveAll(); };
    hooks.checkBefore = [this] {
        if (!state_.Conn) return false;
        if (!firstSequenceBreakingReset(*state_.Conn)) return true;
        shell::Messages::key(state_, "rptformatresettype", shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return false;
    };
    if (!runner_) return {};
    return runner_(transfer::Flow::ReportFormatSN, hooks);
}

// ---------------------------------------------------------------- closing

void FrmReportFormat::closeEvent(QCloseEvent* event) {
    if ((FormatSaved != 1 || SeqSaved != 1) && !state_.terminating && !askSaveAll()) {
        event->ignore();
        return;
    }
    event->accept();
}

void FrmReportFormat::reject() {
    if ((FormatSaved != 1 || SeqSaved != 1) && !state_.terminating && !askSaveAll()) return;
    FormatSaved = SeqSaved = 1;  // asked once; the close that follows does not ask again
    QDialog::reject();
}

bool FrmReportFormat::eventFilter(QObject* watched, QEvent* event) {
    // Number fields select their content on entry.
    if (event->type() == QEvent::FocusIn && watched != txtGrid_ && qobject_cast<QLineEdit*>(watched)) {
        auto* e = static_cast<QLineEdit*>(watched);
        QTimer::singleShot(0, e, [e] { e->selectAll(); });
    }
    if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        const int k = key->key();
        if (watched == txtGrid_ && editingRow_ >= 0) {
            if (k == Qt::Key_Return || k == Qt::Key_Enter || k == Qt::Key_Escape) {
                const int row = editingRow_;
                closeCell();
                gridString_->setCurrentCell(row, kTextColumn);
                gridString_->setFocus();
                return true;
            }
        }
        if (watched == gridString_ && (k == Qt::Key_Return || k == Qt::Key_Enter || k == Qt::Key_F2)) {
            editCell(gridString_->currentRow(), gridString_->currentColumn() == kFontColumn ? kFontColumn : kTextColumn);
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

// ---------------------------------------------------------------- previews

double FrmReportFormat::zoom() const { return comboZoom_->currentData().toInt() / 100.0; }

std::vector<PreviewLine> FrmReportFormat::previewLines(const std::vector<Line>& lines) const {
    std::vector<PreviewLine> out;
    out.reserve(lines.size());
    const bool names = chkNames_->isChecked();
    for (const Line& l : lines) {
        const std::string utf8 = page().decode(reinterpret_cast<const uint8_t*>(l.text.data()), l.text.size());
        out.push_back({qs(names ? decodeNames(utf8, catalogue_) : decodeStr(utf8, catalogue_)), l.font});
    }
    return out;
}

void FrmReportFormat::DisplayReport() {
    if (loading_) return;
    PreviewBlock b;
    const bool names = chkNames_->isChecked();
    for (int k = 0; k < lineCount(); ++k) {
        const std::string& t = LineText[static_cast<std::size_t>(k)];
        b.lines.push_back({qs(names ? decodeNames(t, catalogue_) : decodeStr(t, catalogue_)), LineFont[static_cast<std::size_t>(k)]});
    }
    showFormatImage(renderReceipt({b}, zoom()));
}

std::vector<PreviewBlock> FrmReportFormat::sequenceBlocks() const {
    std::vector<PreviewBlock> blocks;
    if (!state_.Conn) return blocks;
    auto& st = state_.Conn->cached("SELECT Data FROM KVR_AA WHERE Code = ? ORDER BY rowid LIMIT 1");
    for (QLineEdit* e : txtSeqNo_) {
        const std::optional<int64_t> n = parseNumber(e->text().toStdString());
        if (!n || *n == 0) continue;
        st.reset();
        st.bind(1, store::Value(*n));
        PreviewBlock b;
        if (!st.step()) {
            b.missing = qs(shell::fillIn(state_.text("frm_ReportFormat", "lblNoFormat"), {std::to_string(*n)}));
        } else {
            const store::Value data = st.column(0);
            std::vector<Line> lines = data.isBytes() && !data.bytes().empty() ? parseLineStream(data.bytes()).lines
                                                                              : std::vector<Line>{};
            b.lines = previewLines(lines);
        }
        st.reset();
        blocks.push_back(std::move(b));
    }
    return blocks;
}

void FrmReportFormat::DisplayReportSeq() { showSequenceImage(renderReceipt(sequenceBlocks(), zoom())); }

void FrmReportFormat::DisplayReportSeqL() {
    const int mm = std::max(txtLabelHeight_->text().toInt(), 1);
    LabelImage l = renderLabels(sequenceBlocks(), mm, zoom(), text("lblNextLabel"));
    sequenceLabels_ = l.labels;
    showSequenceImage(std::move(l.image));
}

void FrmReportFormat::DisplayReportSeqAny() {
    if (loading_) return;
    if (comboPrintType_->currentIndex() > 0) DisplayReportSeqL();
    else {
        sequenceLabels_ = 0;
        DisplayReportSeq();
    }
}

void FrmReportFormat::showFormatImage(QImage img) {
    formatImage_ = std::move(img);
    picDisplayReport_->setImage(formatImage_);
}

void FrmReportFormat::showSequenceImage(QImage img) {
    sequenceImage_ = std::move(img);
    picDisplayReportSeq_->setImage(sequenceImage_);
}

std::vector<QString> FrmReportFormat::formatPreviewTexts() const {
    std::vector<QString> out;
    const bool names = chkNames_->isChecked();
    for (const std::string& t : LineText) out.push_back(qs(names ? decodeNames(t, catalogue_) : decodeStr(t, catalogue_)));
    return out;
}

std::vector<QString> FrmReportFormat::sequencePreviewTexts() const {
    std::vector<QString> out;
    for (const PreviewBlock& b : sequenceBlocks()) {
        if (!b.missing.isEmpty()) out.push_back(b.missing);
        for (const PreviewLine& l : b.lines) out.push_back(l.text);
    }
    return out;
}

}  // namespace brindale::reportformat::ui
