#include "plu/ui/flexi_barcode_window.h"
#include "shell/form_scaling.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "shell/messages.h"
#include "shell/program_state.h"
#include "store/database.h"

namespace brindale::plu::ui {

namespace {
QString qs(const std::string& s) { return QString::fromStdString(s); }
}

FrmFlexiBarcode::FrmFlexiBarcode(shell::ProgramState& state, Runner runner, QWidget* parent)
    : QDialog(parent), state_(state), runner_(std::move(runner)) {
    setObjectName("frmFlexiBarcode");
    setModal(true);
    setWindowTitle(text("frmFlexiBarcode"));
    QStringList numbers, digits, types, checks, shifts;
    for (int i = 1; i <= kFlexiNumbers; ++i) numbers << QString::number(i);
    for (int i = 0; i <= kFlexiMaxDigits; ++i) digits << QString::number(i) + " " + text("comboDigit");
    for (int i = 0; i <= 9; ++i) shifts << QString::number(i);
    for (const char* k : flexiDataTypeKeys()) types << text(k);
    for (const char* k : flexiCheckDigitKeys()) checks << text(k);
    auto* form = new QFormLayout;
    auto row = [&](const char* label, const char* name, const QStringList& items) {
        auto* l = new QLabel(text(label), this);
        l->setObjectName(label);
        form->addRow(l, combo(name, items));
    };
    row("labFBar_No", "ComboNo", numbers);
    row("labFBar_Type", "ComboType", {"F2", "F1F2", "-"});
    row("labFBar_ItemNo", "ComboItemDigitNo", digits);
    row("labFBar_Data1Type", "ComboData1Type", types);
    row("labFBar_Data1", "ComboData1", digits);
    row("labFBar_Data1SH", "ComboData1SH", shifts);
    row("labFBar_Data2Type", "ComboData2Type", types);
    row("labFBar_Data2", "ComboData2", digits);
    row("labFBar_Data2SH", "ComboData2SH", shifts);
    row("labFBar_CD", "ComboCD", checks);
    row("labFBar_EANorITF", "ComboEANorITF", {"ITF-14", "EAN-13"});
    labItem_ = new QLabel(this);
    labItem_->setObjectName("labFBar_Item");
    QFont mono("Liberation Mono");
    mono.setPointSize(12);
    labItem_->setFont(mono);
    auto mk = [this](const char* name) {
        auto* b = new QPushButton(text(name), this);
        b->setObjectName(name);
        return b;
    };
    auto* cmdSaveB = mk("cmdSave");
    cmdDelete_ = mk("cmdDelete");
    auto* cmdDownload = mk("cmdDownload");
    auto* cmdClose = mk("cmdClose");
    auto* buttons = new QHBoxLayout;
    for (auto* b : {cmdSaveB, cmdDelete_, cmdDownload}) buttons->addWidget(b);
    buttons->addStretch(1);
    buttons->addWidget(cmdClose);
    auto* v = new QVBoxLayout(this);
    v->addLayout(form);
    v->addWidget(labItem_);
    v->addLayout(buttons);

    for (auto& [name, c] : combos_)
        if (name != "ComboNo") connect(c, &QComboBox::currentIndexChanged, this, &FrmFlexiBarcode::updatePattern);
    connect(combos_["ComboNo"], &QComboBox::currentIndexChanged, this, &FrmFlexiBarcode::numberChanged);
    connect(cmdSaveB, &QPushButton::clicked, this, [this] { this->cmdSave(); });
    connect(cmdDelete_, &QPushButton::clicked, this, &FrmFlexiBarcode::cmdDelete);
    connect(cmdDownload, &QPushButton::clicked, this, [this] {
        if (runner_) runner_();
    });
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::reject);
    numberChanged();
    // The system language's character set on every control.
    shell::prepareForm(this);
}

QString FrmFlexiBarcode::text(const char* key) const { return qs(state_.text("frm_FlexiBarcode", key)); }

QComboBox* FrmFlexiBarcode::combo(const char* name, const QStringList& items) {
    auto* c = new QComboBox(this);
    c->setObjectName(name);
    c->addItems(items);
    combos_[name] = c;
    return c;
}

FlexiLayout FrmFlexiBarcode::layout() const {
    auto at = [this](const char* n) { return combos_.at(n)->currentIndex(); };
    FlexiLayout l;
    l.number = at("ComboNo") + 1;
    l.type = at("ComboType");
    l.itemDigits = at("ComboItemDigitNo");
    l.data1Type = at("ComboData1Type");
    l.data2Type = at("ComboData2Type");
    l.data1Digits = at("ComboData1");
    l.data2Digits = at("ComboData2");
    l.data1Shift = at("ComboData1SH");
    l.data2Shift = at("ComboData2SH");
    l.checkDigit = at("ComboCD");
    l.eanOrItf = at("ComboEANorITF");
    return l;
}

void FrmFlexiBarcode::showLayout(const FlexiLayout& l) {
    const std::pair<const char*, int> values[] = {
        {"ComboType", l.type},          {"ComboItemDigitNo", l.itemDigits}, {"ComboData1Type", l.data1Type},
        {"ComboData2Type", l.data2Type}, {"ComboData1", l.data1Digits},     {"ComboData2", l.data2Digits},
        {"ComboData1SH", l.data1Shift},  {"ComboData2SH", l.data2Shift},     {"ComboCD", l.checkDigit},
        {"ComboEANorITF", l.eanOrItf}};
    for (const auto& [name, v] : values) {
        QComboBox* c = combos_[name];
        c->blockSignals(true);
        c->setCurrentIndex(v >= 0 && v < c->count() ? v : 0);
        c->blockSignals(false);
    }
    updatePattern();
}

void FrmFlexiBarcode::updatePattern() { labItem_->setText(qs(flexiPattern(layout()))); }

bool FrmFlexiBarcode::cmdSave() {
    codec::FlexiBarcodeRow row;
    if (!flexiRow(layout(), row, *state_.codePage)) {
        shell::Messages::key(state_, "fbarcodeillegal", shell::MsgIcon::Stop, shell::MsgButtons::Ok, this);
        return false;
    }
    saveFlexiRow(*state_.Conn, row);
    cmdDelete_->setEnabled(true);
    return true;
}

void FrmFlexiBarcode::cmdDelete() {
    deleteFlexiRow(*state_.Conn, layout().number);
    showLayout(FlexiLayout{});
    cmdDelete_->setEnabled(false);
}

void FrmFlexiBarcode::numberChanged() {
    const int number = combos_["ComboNo"]->currentIndex() + 1;
    const auto row = loadFlexiRow(*state_.Conn, number);
    showLayout(row ? flexiLayoutOf(*row) : FlexiLayout{});
    cmdDelete_->setEnabled(row.has_value());
}

}  // namespace brindale::plu::ui
