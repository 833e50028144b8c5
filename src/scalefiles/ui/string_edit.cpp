#include "scalefiles/ui/string_edit.h"
#include "shell/form_scaling.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QVBoxLayout>
#include <cstdio>

#include "codec/code_page.h"
#include "shell/code_page_input.h"
#include "shell/lifecycle.h"
#include "shell/messages.h"
#include "shell/program_state.h"

namespace brindale::scalefiles {

namespace {

constexpr int kTextColumn = 0;
constexpr int kFontColumn = 1;

QString qs(const std::string& s) { return QString::fromStdString(s); }

QString withKey(const QString& caption, QKeySequence key) {
    return caption + " (" + key.toString(QKeySequence::NativeText) + ")";
}

}  // namespace

FrmStringEdit::FrmStringEdit(const shell::ProgramState& state, int kind, std::vector<TextLine> lines, QWidget* parent)
    : QDialog(parent),
      state_(state),
      kind_(kind),
      maxLines_(maxLines(kind, state.settings.ScaleTypeIndex, state.settings.CountryIndex)),
      fonts_(fontsFor(state.settings.CountryIndex)),
      lines_(std::move(lines)) {
    setObjectName("frmStringEdit");
    setModal(true);
    setWindowTitle(text("frmStrTitle"));
    if (lines_.empty()) lines_.push_back(TextLine::typed(fonts_.front().code, {}));

    gridString_ = new QTableWidget(static_cast<int>(lines_.size()), 2, this);
    gridString_->setObjectName("gridString");
    gridString_->setHorizontalHeaderLabels({text("frmStrColText"), text("frmStrColFont")});
    gridString_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    gridString_->setSelectionMode(QAbstractItemView::SingleSelection);
    gridString_->setTabKeyNavigation(false);
    gridString_->horizontalHeader()->setSectionResizeMode(kTextColumn, QHeaderView::Stretch);
    gridString_->horizontalHeader()->setSectionResizeMode(kFontColumn, QHeaderView::ResizeToContents);
    gridString_->installEventFilter(this);

    txtGrid_ = new QLineEdit(gridString_->viewport());
    txtGrid_->setObjectName("txtGrid");
    txtGrid_->hide();
    txtGrid_->installEventFilter(this);
    cobFont_ = new QComboBox(gridString_->viewport());
    cobFont_->setObjectName("CobFont");
    cobFont_->hide();
    cobFont_->installEventFilter(this);

    cmdAppend_ = new QPushButton(text("frmStrAppend"), this);
    cmdAppend_->setObjectName("cmdAppend");
    cmdInsert_ = new QPushButton(text("frmStrInsert"), this);
    cmdInsert_->setObjectName("cmdInsert");
    cmdInsert_->setToolTip(withKey(text("frmStrInsert"), QKeySequence(Qt::Key_Insert)));
    cmdDelete_ = new QPushButton(text("frmStrDelete"), this);
    cmdDelete_->setObjectName("cmdDelete");
    cmdDelete_->setToolTip(withKey(text("frmStrDelete"), QKeySequence(Qt::Key_Delete)));
    cmdOK_ = new QPushButton(text("frmStrOK"), this);
    cmdOK_->setObjectName("cmdOK");
    cmdCancel_ = new QPushButton(text("frmStrCancel"), this);
    cmdCancel_->setObjectName("cmdCancel");
    cmdCancel_->setToolTip(withKey(text("frmStrCancel"), QKeySequence(Qt::Key_Escape)));
    // Enter belongs to the grid (it opens a cell), never to a default button.
    for (QPushButton* b : {cmdAppend_, cmdInsert_, cmdDelete_, cmdOK_, cmdCancel_}) {
        b->setAutoDefault(false);
        b->setDefault(false);
    }

    lblLines_ = new QLabel(this);
    lblLines_->setObjectName("lblLines");
    lblWarning_ = new QLabel(this);
    lblWarning_->setObjectName("lblWarning");
    lblWarning_->setWordWrap(true);
    lblWarning_->setStyleSheet("color: #b00000;");

    auto* left = new QVBoxLayout;
    left->addWidget(gridString_, 1);
    left->addWidget(lblWarning_);
    left->addWidget(lblLines_);
    auto* right = new QVBoxLayout;
    right->addWidget(cmdAppend_);
    right->addWidget(cmdInsert_);
    right->addWidget(cmdDelete_);
    right->addStretch();
    right->addWidget(cmdOK_);
    right->addWidget(cmdCancel_);
    auto* outer = new QHBoxLayout(this);
    outer->addLayout(left, 1);
    outer->addLayout(right);
    setTabOrder(gridString_, cmdAppend_);
    setTabOrder(cmdAppend_, cmdInsert_);
    setTabOrder(cmdInsert_, cmdDelete_);
    setTabOrder(cmdDelete_, cmdOK_);
    setTabOrder(cmdOK_, cmdCancel_);
    resize(600, 400);

    for (int r = 0; r < static_cast<int>(lines_.size()); ++r) fillRow(r);
    gridString_->setCurrentCell(0, kTextColumn);
    gridString_->setFocus();

    connect(cmdAppend_, &QPushButton::clicked, this, [this] { cmdAppend(); });
    connect(cmdInsert_, &QPushButton::clicked, this, [this] { cmdInsert(); });
    connect(cmdDelete_, &QPushButton::clicked, this, [this] { cmdDelete(); });
    connect(cmdOK_, &QPushButton::clicked, this, [this] { cmdOK(); });
    connect(cmdCancel_, &QPushButton::clicked, this, &QDialog::reject);
    connect(gridString_, &QTableWidget::cellClicked, this, [this](int, int) { editCurrentCell(); });
    connect(txtGrid_, &QLineEdit::textChanged, this, [this] { refresh(); });
    connect(cobFont_, &QComboBox::currentIndexChanged, this, [this](int i) {
        if (fillingFont_ || fontRow_ < 0 || i < 0) return;
        lines_[static_cast<std::size_t>(fontRow_)].font = static_cast<uint8_t>(cobFont_->itemData(i).toInt());
        fillRow(fontRow_);
    });
    connect(gridString_->verticalScrollBar(), &QScrollBar::valueChanged, this, [this] {
        if (editingRow_ >= 0) placeOver(txtGrid_, editingRow_, kTextColumn);
        if (fontRow_ >= 0) placeOver(cobFont_, fontRow_, kFontColumn);
    });
    refresh();
    // The system language's character set on every control.
    shell::prepareForm(this);
}

QString FrmStringEdit::text(const char* key) const { return qs(state_.text("frmStringEdit", key)); }

const codec::CodePage& FrmStringEdit::codePage() const {
    if (state_.codePage) return *state_.codePage;
    // Before the tables are loaded there is no run page yet: the system language's page.
    static const codec::CodePage system = codec::CodePage::forSystem();
    return system;
}

QString FrmStringEdit::fontName(uint8_t code) const {
    if (auto p = fontPosition(fonts_, code)) return qs(fonts_[*p].name);
    char hex[8];
    std::snprintf(hex, sizeof hex, "0x%02X", code);
    return qs(shell::fillIn(state_.text("frmStringEdit", "frmStrNotInList"), {hex}));
}

void FrmStringEdit::fillRow(int row) {
    const TextLine& l = lines_[static_cast<std::size_t>(row)];
    for (int c : {kTextColumn, kFontColumn}) {
        if (!gridString_->item(row, c)) {
            auto* item = new QTableWidgetItem;
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
            gridString_->setItem(row, c, item);
        }
    }
    gridString_->item(row, kTextColumn)->setText(QString::fromUtf8(l.text.data(), static_cast<qsizetype>(l.text.size())));
    gridString_->item(row, kFontColumn)->setText(fontName(l.font));
}

int FrmStringEdit::currentRow() const {
    const int r = gridString_->currentRow();
    return r >= 0 && r < static_cast<int>(lines_.size()) ? r : -1;
}

QString FrmStringEdit::problemOf(int row, const TextLine& line) const {
    const std::size_t bytes = lineBytes(line, codePage()).size();
    if (bytes > kMaxLineBytes)
        return qs(shell::fillIn(state_.text("frmStringEdit", "frmStrTooLong"),
                                {std::to_string(row + 1), std::to_string(bytes), std::to_string(kMaxLineBytes)}));
    if (auto ch = characterNotHeld(line, codePage()))
        return qs(shell::fillIn(state_.text("frmStringEdit", "frmStrLine"), {std::to_string(row + 1)})) + " " +
               qs(shell::fillIn(state_.text("msgbox", "codepageNotHeld"), {*ch, codePage().name()}));
    return {};
}

QString FrmStringEdit::warningText() const {
    for (int r = 0; r < static_cast<int>(lines_.size()); ++r) {
        TextLine l = lines_[static_cast<std::size_t>(r)];
        if (r == editingRow_) l.text = txtGrid_->text().toStdString();
        const QString p = problemOf(r, l);
        if (!p.isEmpty()) return p;
    }
    return {};
}

void FrmStringEdit::refresh() {
    const int n = static_cast<int>(lines_.size());
    cmdAppend_->setEnabled(n < maxLines_);
    cmdInsert_->setEnabled(n < maxLines_);
    cmdDelete_->setEnabled(n > 1 || !lines_.front().text.empty() || editingRow_ >= 0);
    lblLines_->setText(qs(shell::fillIn(state_.text("frmStringEdit", "frmStrLines"),
                                        {std::to_string(n), std::to_string(maxLines_)})));
    const QString w = warningText();
    lblWarning_->setText(w);
    lblWarning_->setVisible(!w.isEmpty());
}

void FrmStringEdit::placeOver(QWidget* editor, int row, int column) {
    const QRect r = gridString_->visualRect(gridString_->model()->index(row, column));
    editor->setGeometry(r);
    editor->show();
    editor->raise();
}

void FrmStringEdit::editCurrentCell() {
    const int row = currentRow();
    if (row < 0) return;
    if (gridString_->currentColumn() == kFontColumn) openFont(row);
    else openText(row);
}

void FrmStringEdit::openText(int row) {
    closeFont();
    if (editingRow_ >= 0) closeText(true);
    gridString_->setCurrentCell(row, kTextColumn);
    editingRow_ = row;
    const std::string& t = lines_[static_cast<std::size_t>(row)].text;
    txtGrid_->setText(QString::fromUtf8(t.data(), static_cast<qsizetype>(t.size())));
    placeOver(txtGrid_, row, kTextColumn);
    txtGrid_->setFocus();
    txtGrid_->selectAll();
    refresh();
}

void FrmStringEdit::commitText() {
    if (editingRow_ < 0) return;
    TextLine& l = lines_[static_cast<std::size_t>(editingRow_)];
    const std::string typed = txtGrid_->text().toStdString();
    if (typed != l.text) {
        l.text = typed;
        fillRow(editingRow_);
    }
}

void FrmStringEdit::closeText(bool keep) {
    if (editingRow_ < 0) return;
    if (keep) commitText();
    editingRow_ = -1;  // first, so that the focus leaving the hidden box does not close it again
    txtGrid_->hide();
    refresh();
}

void FrmStringEdit::openFont(int row) {
    if (editingRow_ >= 0) closeText(true);
    closeFont();
    gridString_->setCurrentCell(row, kFontColumn);
    const uint8_t code = lines_[static_cast<std::size_t>(row)].font;
    fillingFont_ = true;
    cobFont_->clear();
    for (const FontChoice& f : fonts_) cobFont_->addItem(qs(f.name), f.code);
    // A code no entry stands for stays selectable as it is, so that it is kept unless changed.
    if (!fontPosition(fonts_, code)) cobFont_->addItem(fontName(code), code);
    cobFont_->setCurrentIndex(cobFont_->findData(code));
    fillingFont_ = false;
    fontRow_ = row;
    placeOver(cobFont_, row, kFontColumn);
    cobFont_->setFocus();
}

void FrmStringEdit::closeFont() {
    if (fontRow_ < 0) return;
    fontRow_ = -1;
    cobFont_->hide();
}

void FrmStringEdit::focusLine(int row) {
    gridString_->setCurrentCell(row, kTextColumn);
    gridString_->setFocus();
}

void FrmStringEdit::cmdAppend() {
    closeText(true);
    closeFont();
    if (static_cast<int>(lines_.size()) >= maxLines_) return;
    const uint8_t font = lines_.empty() ? fonts_.front().code : lines_.back().font;
    lines_.push_back(TextLine::typed(font, {}));
    const int row = static_cast<int>(lines_.size()) - 1;
    gridString_->insertRow(row);
    fillRow(row);
    openText(row);
}

void FrmStringEdit::cmdInsert() {
    closeText(true);
    closeFont();
    if (static_cast<int>(lines_.size()) >= maxLines_) return;
    const int row = std::max(currentRow(), 0);
    const uint8_t font = lines_[static_cast<std::size_t>(row)].font;
    lines_.insert(lines_.begin() + row, TextLine::typed(font, {}));
    gridString_->insertRow(row);
    fillRow(row);
    openText(row);
}

void FrmStringEdit::cmdDelete() {
    closeFont();
    const int row = editingRow_ >= 0 ? editingRow_ : currentRow();
    closeText(false);
    if (row < 0) return;
    if (lines_.size() == 1) {
        // The only line stays, emptied: a text always has a first line to type into.
        lines_.front().text.clear();
        fillRow(0);
    } else {
        lines_.erase(lines_.begin() + row);
        gridString_->removeRow(row);
        focusLine(std::min(row, static_cast<int>(lines_.size()) - 1));
    }
    refresh();
}

void FrmStringEdit::cmdOK() {
    closeText(true);
    closeFont();
    const int n = static_cast<int>(lines_.size());
    if (n > maxLines_) {
        shell::Messages::show(qs(shell::fillIn(state_.text("frmStringEdit", "frmStrTooMany"),
                                               {std::to_string(n), std::to_string(maxLines_)})),
                              shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        focusLine(maxLines_);
        return;
    }
    for (int r = 0; r < n; ++r) {
        const QString p = problemOf(r, lines_[static_cast<std::size_t>(r)]);
        if (!p.isEmpty()) {
            shell::Messages::show(p, shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
            focusLine(r);
            return;
        }
    }
    // An empty first line empties the whole text; lines typed below it are not dropped silently.
    if (lines_.front().text.empty()) {
        bool more = false;
        for (const TextLine& l : lines_) more = more || !l.text.empty();
        if (more && shell::Messages::show(text("frmStrFirstEmpty"), shell::MsgIcon::Question,
                                          shell::MsgButtons::YesNo, this) != shell::MsgResult::Yes) {
            focusLine(0);
            return;
        }
    }
    JoinedBlock j = blockFromLines(lines_, codePage());
    if (j.tooLong) return;  // every line was checked above
    block_ = std::move(j.block);
    accept();
}

bool FrmStringEdit::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusOut) {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (watched == txtGrid_ && editingRow_ >= 0 && reason != Qt::PopupFocusReason) closeText(true);
        if (watched == cobFont_ && fontRow_ >= 0 && reason != Qt::PopupFocusReason && !cobFont_->view()->isVisible())
            closeFont();
        return false;
    }
    if (event->type() != QEvent::KeyPress) return QDialog::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);
    const int k = key->key();
    const bool plain = (key->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (watched == gridString_ && plain) {
        if (k == Qt::Key_Return || k == Qt::Key_Enter || k == Qt::Key_F2) {
            editCurrentCell();
            return true;
        }
        if (k == Qt::Key_Insert) {
            cmdInsert();
            return true;
        }
        if (k == Qt::Key_Delete) {
            cmdDelete();
            return true;
        }
    }
    if (watched == txtGrid_ && editingRow_ >= 0) {
        const int row = editingRow_;
        if (k == Qt::Key_Return || k == Qt::Key_Enter) {
            closeText(true);
            focusLine(row);
            return true;
        }
        if (k == Qt::Key_Escape) {  // the typing goes, the window stays
            closeText(false);
            focusLine(row);
            return true;
        }
        if (k == Qt::Key_Up || k == Qt::Key_Down) {
            closeText(true);
            const int next = std::clamp(row + (k == Qt::Key_Down ? 1 : -1), 0, static_cast<int>(lines_.size()) - 1);
            focusLine(next);
            return true;
        }
    }
    if (watched == cobFont_ && fontRow_ >= 0 && !cobFont_->view()->isVisible()) {
        const int row = fontRow_;
        if (k == Qt::Key_Return || k == Qt::Key_Enter || k == Qt::Key_Escape) {
            closeFont();
            gridString_->setCurrentCell(row, kFontColumn);
            gridString_->setFocus();
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

std::optional<codec::Bytes> editTextBlock(const shell::ProgramState& state, int kind, const codec::Bytes& block,
                                          QWidget* parent) {
    if (!isTextKind(kind)) return std::nullopt;
    const codec::CodePage* page = state.codePage.get();
    static const codec::CodePage system = codec::CodePage::forSystem();
    ReadLines read = linesFromBlock(block, page ? *page : system);
    if (read.damage)
        shell::Messages::show(qs(shell::fillIn(state.text("frmStringEdit", "frmStrDamaged"),
                                               {textColumnName(kind), std::to_string(read.damage->offset)})),
                              shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, parent);
    FrmStringEdit form(state, kind, std::move(read.lines), parent);
    if (form.exec() != QDialog::Accepted) return std::nullopt;
    return form.block();
}

}  // namespace brindale::scalefiles
