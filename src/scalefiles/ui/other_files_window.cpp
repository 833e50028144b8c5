#include "scalefiles/ui/other_files_window.h"
#include "shell/form_scaling.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

#include "codec/code_page.h"
#include "codec/text_block.h"
#include "scalefiles/text_files.h"
#include "scalefiles/ui/string_edit.h"
#include "shell/messages.h"
#include "shell/program_state.h"
#include "store/database.h"

namespace brindale::scalefiles {

namespace {

QString qs(const std::string& s) { return QString::fromStdString(s); }

// Number boxes keep digits only, at most eight: what is typed or pasted otherwise is removed.
void digitsBox(QLineEdit* box) {
    QObject::connect(box, &QLineEdit::textEdited, box, [box](const QString& t) {
        const QString d = qs(digitsOnly(t.toStdString()));
        if (d != t) box->setText(d);
    });
    box->setMaxLength(8);
}

uint32_t numberIn(const QString& t) {
    const std::string d = digitsOnly(t.toStdString());
    return d.empty() ? 0 : static_cast<uint32_t>(std::stoul(d));
}

const codec::CodePage& pageOf(const shell::ProgramState& state) {
    if (state.codePage) return *state.codePage;
    static const codec::CodePage system = codec::CodePage::forSystem();
    return system;
}

}  // namespace

FrmOtherFile::FrmOtherFile(shell::ProgramState& state, Runner runner, QWidget* parent)
    : QDialog(parent), state_(state), runner_(std::move(runner)) {
    setObjectName("frmOtherFile");
    setModal(true);
    setWindowTitle(text("frmOtherFile"));
    auto* grid = new QGridLayout;
    int row = 0;
    for (const auto& k : textFileKinds()) {
        KindControls c;
        c.button = new QPushButton(qs(state_.text("frm_OtherFiles", k.button)), this);
        c.button->setObjectName(k.button);
        c.combo = new QComboBox(this);
        c.combo->setObjectName(k.combo);
        c.combo->setEditable(k.numberBox == nullptr);  // the number is typed here when there is no number box
        c.combo->setMinimumWidth(220);
        c.text = new QLineEdit(this);
        c.text->setObjectName(k.textBox);
        c.text->setReadOnly(true);
        c.text->setMinimumWidth(260);  // the first line of the text: the widest column
        grid->addWidget(c.button, row, 0);
        grid->addWidget(c.combo, row, 1);
        if (k.numberBox) {
            c.number = new QLineEdit(this);
            c.number->setObjectName(k.numberBox);
            digitsBox(c.number);
            c.number->setMaximumWidth(110);  // eight digits
            grid->addWidget(c.number, row, 2);
        } else {
            digitsBox(c.combo->lineEdit());
        }
        grid->addWidget(c.text, row, 3);
        kinds_[k.kind] = c;
        const int kind = k.kind;
        connect(c.button, &QPushButton::clicked, this, [this, kind] { editText(kind); });
        if (c.number) {
            connect(c.combo, &QComboBox::activated, this, [this, kind](int i) {
                kinds_[kind].number->setText(kinds_[kind].combo->itemData(i).toString());
                showText(kind);
            });
            connect(c.number, &QLineEdit::textChanged, this, [this, kind] { showText(kind); });
        } else {
            connect(c.combo, &QComboBox::currentTextChanged, this, [this, kind] { showText(kind); });
        }
        fillCombo(kind);
        ++row;
    }
    grid->setColumnStretch(3, 1);
    auto* lblCNo = new QLabel(text("lblCNo"), this);
    lblCNo->setObjectName("lblCNo");
    txtCNo_ = new QLineEdit(this);
    txtCNo_->setObjectName("txtCNo");
    digitsBox(txtCNo_);
    auto* lblPLUNo = new QLabel(text("lblPLUNo"), this);
    lblPLUNo->setObjectName("lblPLUNo");
    txtPLUNo_ = new QLineEdit(this);
    txtPLUNo_->setObjectName("txtPLUNo");
    digitsBox(txtPLUNo_);
    connect(txtCNo_, &QLineEdit::textChanged, this, &FrmOtherFile::showContainer);
    connect(txtPLUNo_, &QLineEdit::editingFinished, this, &FrmOtherFile::storeContainerRow);
    auto* container = new QHBoxLayout;
    container->addWidget(lblCNo);
    container->addWidget(txtCNo_);
    container->addWidget(lblPLUNo);
    container->addWidget(txtPLUNo_);
    container->addStretch(1);

    auto* checks = new QGridLayout;
    int i = 0;
    std::vector<std::pair<const char*, std::string>> boxes;
    for (const auto& k : textFileKinds()) boxes.push_back({k.checkBox, k.table});
    boxes.push_back({"chkContainer", "KVR_DF"});
    for (const auto& [name, table] : boxes) {
        auto* box = new QCheckBox(text(name), this);
        box->setObjectName(name);
        const std::string t = table;
        // The whole table goes: every row takes the state of its box.
        connect(box, &QCheckBox::toggled, this, [this, t](bool on) { markAllRows(*state_.Conn, t, on); });
        checks->addWidget(box, i / 4, i % 4);
        checks_.push_back(box);
        ++i;
    }
    auto* lblNote = new QLabel(text("lblNote"), this);
    lblNote->setObjectName("lblNote");
    auto* cmdSendB = new QPushButton(text("cmdSend"), this);
    cmdSendB->setObjectName("cmdSend");
    auto* cmdDTTM = new QPushButton(text("cmdDTTM"), this);
    cmdDTTM->setObjectName("cmdDTTM");
    auto* cmdClose = new QPushButton(text("cmdClose"), this);
    cmdClose->setObjectName("cmdClose");
    connect(cmdSendB, &QPushButton::clicked, this, &FrmOtherFile::cmdSend);
    connect(cmdDTTM, &QPushButton::clicked, this, [this] {
        if (runner_) runner_(Command::DateTime, {}, clock_);
    });
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdSendB);
    buttons->addWidget(cmdDTTM);
    buttons->addStretch(1);
    buttons->addWidget(cmdClose);

    auto* v = new QVBoxLayout(this);
    v->addLayout(grid);
    v->addLayout(container);
    v->addLayout(checks);
    v->addWidget(lblNote);
    v->addLayout(buttons);
    // The system language's character set on every control.
    shell::prepareForm(this);
}

QString FrmOtherFile::text(const char* key) const { return qs(state_.text("frm_OtherFiles", key)); }

void FrmOtherFile::fillCombo(int kind) {
    auto& c = kinds_[kind];
    const QString typed = c.combo->isEditable() ? c.combo->currentText() : QString();
    c.combo->blockSignals(true);
    c.combo->clear();
    for (const auto& e : textFileEntries(*state_.Conn, kind))
        c.combo->addItem(QString::number(e.number) + " " + qs(e.firstLine), QString::number(e.number));
    if (c.combo->isEditable()) c.combo->setEditText(typed);
    else c.combo->setCurrentIndex(-1);
    c.combo->blockSignals(false);
}

uint32_t FrmOtherFile::numberOf(int kind) const {
    const auto it = kinds_.find(kind);
    if (it == kinds_.end()) return 0;
    const auto& c = it->second;
    if (c.number) return numberIn(c.number->text());
    // An entry of the list reads "12 first line": its number comes first.
    return numberIn(c.combo->currentText().section(' ', 0, 0));
}

void FrmOtherFile::showText(int kind) {
    const uint32_t n = numberOf(kind);
    const codec::Bytes block = n ? textFileBlock(*state_.Conn, kind, n) : std::nullopt;
    kinds_[kind].text->setText(qs(codec::firstLine(block, codec::FirstLineVariant::Editor, pageOf(state_))));
}

void FrmOtherFile::editText(int kind) {
    const uint32_t n = numberOf(kind);
    if (n == 0) return;  // no number, no text to edit
    const auto block = editTextBlock(state_, kind, textFileBlock(*state_.Conn, kind, n), this);
    if (!block) return;  // Cancel
    const std::string why = storeTextFile(*state_.Conn, kind, n, *block, pageOf(state_));
    if (!why.empty()) {
        shell::Messages::show(qs(why), shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return;
    }
    fillCombo(kind);
    showText(kind);
}

void FrmOtherFile::showContainer() {
    const auto plu = txtCNo_->text().isEmpty() ? std::nullopt : containerPlu(*state_.Conn, numberIn(txtCNo_->text()));
    txtPLUNo_->setText(plu ? QString::number(*plu) : QString());
}

void FrmOtherFile::storeContainerRow() {
    if (txtCNo_->text().isEmpty()) return;
    const std::optional<uint32_t> plu =
        txtPLUNo_->text().isEmpty() ? std::nullopt : std::optional<uint32_t>(numberIn(txtPLUNo_->text()));
    const std::string why = storeContainer(*state_.Conn, numberIn(txtCNo_->text()), plu);
    if (!why.empty()) shell::Messages::show(qs(why), shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
    // A row stored while the container box is ticked goes with the rest of the table.
    if (checks_.back()->isChecked()) markAllRows(*state_.Conn, "KVR_DF", true);
}

void FrmOtherFile::cmdSend() {
    std::vector<std::string> ticked;
    for (auto* box : checks_)
        if (box->isChecked()) ticked.push_back(box->objectName().toStdString());
    if (runner_) runner_(Command::Send, ticked, clock_);
}

}  // namespace brindale::scalefiles
