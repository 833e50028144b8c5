#include "property_forms.h"
#include "form_scaling.h"

#include "guard.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QEvent>
#include <QFocusEvent>
#include <QKeySequence>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "application.h"
#include "code_page_input.h"
#include "messages.h"
#include "store/schema.h"

namespace brindale::shell {

using store::Kind;

namespace {

QString qs(const std::string& s) { return QString::fromStdString(s); }

// Number boxes take digits and backspace only (plus `extra`, the decimal sign of a price) and
// select their content when entered. Keys without text (arrows, Tab) pass.
class NumberKeys : public QObject {
public:
    NumberKeys(QLineEdit* box, QString extra = {}) : QObject(box), extra_(std::move(extra)) { box->installEventFilter(this); }

protected:
    bool eventFilter(QObject* o, QEvent* e) override {
        if (e->type() == QEvent::KeyPress) {
            auto* k = static_cast<QKeyEvent*>(e);
            const QString t = k->text();
            if (k->key() == Qt::Key_Backspace || t.isEmpty()) return false;
            if (k->key() == Qt::Key_Tab || k->key() == Qt::Key_Backtab || k->key() == Qt::Key_Return ||
                k->key() == Qt::Key_Enter || k->key() == Qt::Key_Escape)
                return false;
            for (QChar c : t)
                if (!c.isDigit() && !(extra_.size() && c == extra_[0])) return true;
            return false;
        }
        if (e->type() == QEvent::FocusIn) {
            auto* box = static_cast<QLineEdit*>(o);
            QTimer::singleShot(0, box, [box] { box->selectAll(); });
        }
        return false;
    }

private:
    QString extra_;
};

// The four boxes of a machine's address, typed as every address field is: digits fill the group,
// a dot moves to the next group, a group above 255 is refused, backspace and the arrows cross
// the groups, and a whole address pasted into a box fills the boxes from there on.
class AddressBoxes : public QObject {
public:
    AddressBoxes(QLineEdit* const (&boxes)[4], QObject* parent) : QObject(parent) {
        for (int i = 0; i < 4; ++i) {
            box_[i] = boxes[i];
            box_[i]->setMaxLength(15);  // room for a pasted address; a group keeps to 3 digits
            box_[i]->installEventFilter(this);
            connect(box_[i], &QLineEdit::textEdited, this, [this, i](const QString& t) { edited(i, t); });
        }
    }
    // The boxes' texts as they stand are the ones to go back to when an edit is refused.
    void remember() {
        for (int i = 0; i < 4; ++i) good_[i] = box_[i]->text();
    }

protected:
    bool eventFilter(QObject* o, QEvent* e) override {
        const int i = indexOf(o);
        if (i < 0) return false;
        if (e->type() == QEvent::FocusIn) {
            // Entered by the operator (Tab, mouse): the group is selected, so typing replaces it.
            // Entered by moving across groups: the cursor stays where the move put it.
            const auto r = static_cast<QFocusEvent*>(e)->reason();
            if (r == Qt::TabFocusReason || r == Qt::BacktabFocusReason || r == Qt::MouseFocusReason ||
                r == Qt::ShortcutFocusReason)
                QTimer::singleShot(0, box_[i], [b = box_[i]] { b->selectAll(); });
            return false;
        }
        if (e->type() != QEvent::KeyPress) return false;
        auto* k = static_cast<QKeyEvent*>(e);
        const bool advanced = justAdvanced_;
        justAdvanced_ = false;
        QLineEdit* b = box_[i];
        if (k->matches(QKeySequence::Paste)) return pasteInto(i, QGuiApplication::clipboard()->text());
        if (k->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return false;
        switch (k->key()) {
            case Qt::Key_Backspace:
                if (i > 0 && !b->hasSelectedText() && b->cursorPosition() == 0) {
                    QLineEdit* prev = box_[i - 1];
                    moveTo(i - 1, prev->text().size());
                    if (!prev->text().isEmpty()) {
                        prev->setText(prev->text().chopped(1));
                        good_[i - 1] = prev->text();
                    }
                    return true;
                }
                return false;
            case Qt::Key_Left:
                if (i > 0 && !b->hasSelectedText() && b->cursorPosition() == 0) {
                    moveTo(i - 1, box_[i - 1]->text().size());
                    return true;
                }
                return false;
            case Qt::Key_Right:
                if (i < 3 && !b->hasSelectedText() && b->cursorPosition() == b->text().size()) {
                    moveTo(i + 1, 0);
                    return true;
                }
                return false;
            default: break;
        }
        const QString t = k->text();
        if (t.isEmpty() || t[0].unicode() < 32 || t[0].unicode() == 127) return false;  // Tab, Enter, Escape, ...
        if (t == "." || t == ",") {
            // Right after three digits moved on, the dot the operator types is that same move.
            if (!advanced && i < 3 && !b->text().isEmpty()) advance(i, false);
            return true;
        }
        if (t.size() == 1 && t[0] >= '0' && t[0] <= '9') typeDigit(i, t[0]);
        else QApplication::beep();
        return true;
    }

private:
    int indexOf(QObject* o) const {
        for (int i = 0; i < 4; ++i)
            if (box_[i] == o) return i;
        return -1;
    }
    static bool validGroup(const QString& g) {
        if (g.size() > 3) return false;
        for (QChar c : g)
            if (c < '0' || c > '9') return false;
        return g.isEmpty() || g.toInt() <= 255;
    }
    void moveTo(int i, int cursor) {
        box_[i]->setFocus(Qt::OtherFocusReason);
        box_[i]->deselect();
        box_[i]->setCursorPosition(cursor);
    }
    // To the next group, its text selected so that typing replaces it.
    void advance(int i, bool byDigits) {
        box_[i + 1]->setFocus(Qt::OtherFocusReason);
        box_[i + 1]->selectAll();
        justAdvanced_ = byDigits;
    }
    void typeDigit(int i, QChar digit) {
        QLineEdit* b = box_[i];
        QString t = b->text();
        int pos = b->cursorPosition();
        if (b->hasSelectedText()) {
            pos = b->selectionStart();
            t.remove(pos, b->selectedText().size());
        } else if (t.size() >= 3 && pos == t.size() && i < 3) {
            // A full group: the digit begins the next one.
            advance(i, false);
            typeDigit(i + 1, digit);
            return;
        }
        t.insert(pos, digit);
        if (!validGroup(t)) {
            QApplication::beep();
            return;
        }
        b->setText(t);
        b->setCursorPosition(pos + 1);
        good_[i] = t;
        if (t.size() == 3 && pos + 1 == 3 && i < 3) advance(i, true);
    }
    // A whole address, or a part of one from box i on; false when it is no address at all, so
    // that the box takes it as an ordinary paste (and refuses what is not digits).
    bool pasteInto(int i, const QString& text) {
        const QString t = text.trimmed();
        if (!t.contains('.')) {
            for (QChar c : t)
                if (c < '0' || c > '9') return true;  // nothing but digits comes in
            return false;
        }
        const QStringList groups = t.split('.');
        if (i + groups.size() > 4) {
            QApplication::beep();
            return true;
        }
        for (const QString& g : groups)
            if (!validGroup(g)) {
                QApplication::beep();
                return true;
            }
        for (int n = 0; n < groups.size(); ++n) {
            box_[i + n]->setText(groups[n]);
            good_[i + n] = groups[n];
        }
        const int last = i + static_cast<int>(groups.size()) - 1;
        moveTo(last, box_[last]->text().size());
        return true;
    }
    // What reached a box some other way (the context menu's paste, undo): kept when it is a group
    // or an address, otherwise the box goes back to what it held.
    void edited(int i, const QString& t) {
        if (validGroup(t)) {
            good_[i] = t;
            return;
        }
        if (t.contains('.')) {
            const QString before = good_[i];
            box_[i]->setText(before);
            if (pasteInto(i, t)) return;
        }
        box_[i]->setText(good_[i]);
        QApplication::beep();
    }

    QLineEdit* box_[4] = {};
    QString good_[4];
    bool justAdvanced_ = false;
};

QLineEdit* numberBox(QWidget* parent, const char* name, int maxLength, const QString& extra = {}) {
    auto* e = new QLineEdit(parent);
    e->setObjectName(name);
    e->setMaxLength(maxLength);
    new NumberKeys(e, extra);
    return e;
}

QLabel* label(QWidget* parent, const char* name, const QString& text) {
    auto* l = new QLabel(text, parent);
    l->setObjectName(name);
    return l;
}

QComboBox* combo(QWidget* parent, const char* name) {
    auto* c = new QComboBox(parent);
    c->setObjectName(name);
    c->setMaxVisibleItems(16);
    return c;
}

// A name takes no control character: each one becomes a null character, so that nothing like a
// line break comes in by pasting.
void guardName(QLineEdit* e) {
    QObject::connect(e, &QLineEdit::textChanged, e, [e](const QString& t) {
        QString clean = t;
        bool changed = false;
        for (auto& c : clean)
            if (c.unicode() < 32 && c.unicode() != 0) {
                c = QChar(0);
                changed = true;
            }
        if (changed) {
            int pos = e->cursorPosition();
            e->setText(clean);
            e->setCursorPosition(pos);
        }
    });
}

int toInt(const QString& s) {
    bool ok = false;
    int v = s.trimmed().toInt(&ok);
    return ok ? v : 0;
}

store::SectionRows rowsOf(const ProgramState& state, const char* section) {
    store::SectionRows rows;
    if (const LanguageTable* t = state.lang.find(section))
        for (size_t i = 0; i < t->size(); ++i) rows.emplace_back(t->keyAt(i), t->valueAt(i));
    return rows;
}

void fill(QComboBox* c, const std::vector<std::string>& rows) {
    c->clear();
    for (const auto& r : rows) c->addItem(qs(r));
}

void setIndex(QComboBox* c, int index) { c->setCurrentIndex(index >= 0 && index < c->count() ? index : 0); }

}  // namespace

std::string propertyCaption(const ProgramState& state, Kind kind) {
    const char* section = "frm_Properties";
    const char* key = "labtitleStore";
    switch (kind) {
        case Kind::Section: key = "labtitleSect"; break;
        case Kind::Machine: section = "frm_ScProperties"; key = "labtitleMachine"; break;
        case Kind::Dept: key = "labtitleDept"; break;
        case Kind::MainGroup: key = "labtitleMg"; break;
        case Kind::Search: section = "frm_Search"; key = "labtitleSearch"; break;
        default: break;
    }
    return state.text(section, key) + " " + state.text("frm_Properties", "properties");
}

// ---- PropertyForm -------------------------------------------------------------------------------

PropertyForm::PropertyForm(ProgramState& state, store::Hierarchy& hierarchy, PropertySession& session, QWidget* parent)
    : QDialog(parent), state_(state), h_(hierarchy), s_(session) {
    setModal(true);
    setWindowTitle(qs(propertyCaption(state, session.kind)));
}

void PropertyForm::reject() {
    // The first store cannot be cancelled, except by the end of the run (a signal, a logout).
    if (!s_.cancellable && !state_.terminating) return;
    QDialog::reject();
}

void PropertyForm::layOut(QLayout* fields, const char* section) {
    ok_ = new QPushButton(text(section, "cmdOK"), this);
    ok_->setObjectName("cmdOK");
    ok_->setDefault(true);
    cancel_ = new QPushButton(text(section, "cmdCanel"), this);
    cancel_->setObjectName("cmdCanel");
    cancel_->setEnabled(s_.cancellable);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok_);
    buttons->addWidget(cancel_);
    auto* outer = new QVBoxLayout(this);
    outer->addLayout(fields);
    outer->addStretch();
    outer->addLayout(buttons);
    connect(ok_, &QPushButton::clicked, this, [this] { runOK(); });
    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
    // Every control stands now: the system language's character set on each.
    prepareForm(this);
}

void PropertyForm::runOK() {
    // A database error while saving is shown with what it names; the form stays open with what
    // was typed, so the operator can try again or cancel.
    runGuarded([this] { cmdOK(); });
}

void PropertyForm::finish(const std::string& key) {
    s_.savedKey = key;
    accept();
}

QString PropertyForm::text(const char* section, const char* key) const { return qs(state_.text(section, key)); }

int PropertyForm::columnSize(const char* table, const char* column) const {
    if (const store::TableDef* t = h_.database().table(table)) {
        int i = t->columnIndex(column);
        if (i >= 0 && t->columns[static_cast<size_t>(i)].size > 0) return t->columns[static_cast<size_t>(i)].size;
    }
    return 32767;
}

// ---- frmProperties ------------------------------------------------------------------------------

FrmProperties::FrmProperties(ProgramState& state, store::Hierarchy& hierarchy, PropertySession& session,
                             QWidget* parent)
    : PropertyForm(state, hierarchy, session, parent) {
    setObjectName("frmProperties");
    const char* sec = "frm_Properties";
    const Kind k = s_.kind;
    auto* grid = new QGridLayout;
    int row = 0;

    int codeLength = k == Kind::Dept ? 2 : k == Kind::MainGroup ? 3 : 4;
    txtCode_ = numberBox(this, "txtCode", codeLength);
    grid->addWidget(label(this, "labCode", text(sec, "labCode")), row, 0);
    grid->addWidget(txtCode_, row++, 1, 1, 2);

    const char* table = store::tableOf(k);
    const char* nameColumn = k == Kind::Store ? "ST_Name" : k == Kind::Section ? "SECT_Name" : k == Kind::Dept ? "DP_Name" : "MG_Name";
    txtName_ = new QLineEdit(this);
    txtName_->setObjectName("txtName");
    txtName_->setMaxLength(columnSize(table, nameColumn));
    guardName(txtName_);
    grid->addWidget(label(this, "labName", text(sec, "labName")), row, 0);
    grid->addWidget(txtName_, row++, 1, 1, 2);
    QLabel* labNameCodePage = nullptr;
    if (k == Kind::Dept || k == Kind::MainGroup) {
        // Department and main group names go into their scale records.
        labNameCodePage = label(this, "labNameCodePage", {});
        grid->addWidget(labNameCodePage, row++, 1, 1, 2);
    }

    comboSectNo_ = combo(this, "ComboSectNo");
    auto* labSect = label(this, "labSectNo", text(sec, "labSectNo"));
    grid->addWidget(labSect, row, 0);
    grid->addWidget(comboSectNo_, row++, 1, 1, 2);

    comboBarType_ = combo(this, "ComboBar_Type");
    comboBarType_->addItems({"EAN", "ITF"});
    auto* labBarType = label(this, "labBar_Type", text(sec, "labBar_Type"));
    grid->addWidget(labBarType, row, 0);
    grid->addWidget(comboBarType_, row++, 1, 1, 2);

    comboBarFormat_ = combo(this, "comboBarForamt");
    auto* labBarFormat = label(this, "labBarFormat", text(sec, "labBarFormat"));
    grid->addWidget(labBarFormat, row, 0);
    grid->addWidget(comboBarFormat_, row++, 1, 1, 2);

    txtFlag1_ = numberBox(this, "txtFlag1", 1);
    txtFlag2_ = numberBox(this, "txtFlag2", 1);
    for (auto* f : {txtFlag1_, txtFlag2_}) {
        f->setMaximumWidth(48);
        f->setAlignment(Qt::AlignCenter);
    }
    auto* labFlag = label(this, "labFlag", text(sec, "labFlag"));
    auto* flagRow = new QHBoxLayout;
    flagRow->addWidget(txtFlag1_);
    flagRow->addWidget(txtFlag2_);
    flagRow->addStretch();
    grid->addWidget(labFlag, row, 0);
    grid->addLayout(flagRow, row++, 1, 1, 2);

    comboBarFlag_ = combo(this, "ComboBarFlag");
    auto* labBarFlag = label(this, "labBarFlag", text(sec, "labBarFlag"));
    grid->addWidget(labBarFlag, row, 0);
    grid->addWidget(comboBarFlag_, row++, 1, 1, 2);

    comboLabFormat_ = combo(this, "ComboLabForamt");
    auto* labLab = label(this, "labLabForamt", text(sec, "labLabForamt"));
    grid->addWidget(labLab, row, 0);
    grid->addWidget(comboLabFormat_, row++, 1, 1, 2);
    grid->setColumnMinimumWidth(1, 120);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(2, 1);

    layOut(grid, sec);

    // A department chooses its section; a section shows its code and name only.
    const bool dept = k == Kind::Dept;
    labSect->setVisible(dept);
    comboSectNo_->setVisible(dept);
    if (k == Kind::Section)
        for (QWidget* w : std::initializer_list<QWidget*>{labBarType, comboBarType_, labBarFormat, comboBarFormat_, labFlag,
                                                          txtFlag1_, txtFlag2_, labBarFlag, comboBarFlag_, labLab,
                                                          comboLabFormat_})
            w->setVisible(false);

    // The editing record onto the controls.
    auto& r = *s_.records;
    std::string name;
    switch (k) {
        case Kind::Store: txtCode_->setText(QString::number(r.store.ST_No)); name = r.store.ST_Name; break;
        case Kind::Section: txtCode_->setText(QString::number(r.section.SECT_No)); name = r.section.SECT_Name; break;
        case Kind::Dept: txtCode_->setText(QString::number(r.dept.DP_No)); name = r.dept.DP_Name; break;
        case Kind::MainGroup: txtCode_->setText(QString::number(r.mainGroup.MG_No)); name = r.mainGroup.MG_Name; break;
        default: break;
    }
    txtName_->setText(qs(name));
    if (labNameCodePage) nameCheck_ = new CodePageInput(state_, txtName_, labNameCodePage);
    if (dept) {
        // fillSectionCombo: a first row for no section, then the store's sections.
        comboSectNo_->addItem(text("frm_Properties", "NotUsed"), 0);
        for (const auto& [no, sectName] : h_.sectionsOf(s_.selection.store)) comboSectNo_->addItem(qs(sectName), no);
        int at = comboSectNo_->findData(r.dept.SECT_No);
        comboSectNo_->setCurrentIndex(at >= 0 ? at : 0);
    }
    if (store::BarcodeFields* b = bar()) {
        comboBarType_->setCurrentIndex(b->BarType == "1" ? 1 : 0);
        fillBarFormatCombo();
        setIndex(comboBarFormat_, store::levelIndex(k, b->barformat));
        fill(comboBarFlag_, store::barFlagRows(rowsOf(state_, "BAR_LAST_BYTE")));
        setIndex(comboBarFlag_, store::barFlagIndex(b->BarFlag));
        fill(comboLabFormat_, store::labelFormatRows(k, rowsOf(state_, "Label_Format")));
        setIndex(comboLabFormat_, store::levelIndex(k, b->LabFormat));
        txtFlag1_->setText(qs(store::flagText(b->Flag1)));
        txtFlag2_->setText(qs(store::flagText(b->Flag2)));
        applyFormatRule(false);
    }
    connect(comboBarType_, qOverload<int>(&QComboBox::activated), this, [this](int) {
        fillBarFormatCombo();
        setIndex(comboBarFormat_, 0);
        applyFormatRule(true);
    });
    connect(comboBarFormat_, qOverload<int>(&QComboBox::activated), this, [this](int) { applyFormatRule(true); });
    txtCode_->setFocus();
    adjustSize();
    setMinimumWidth(360);
}

store::BarcodeFields* FrmProperties::bar() {
    auto& r = *s_.records;
    switch (s_.kind) {
        case Kind::Store: return &r.store.bar;
        case Kind::Section: return &r.section.bar;
        case Kind::Dept: return &r.dept.bar;
        case Kind::MainGroup: return &r.mainGroup.bar;
        default: return nullptr;
    }
}

void FrmProperties::fillBarFormatCombo() {
    const bool itf = comboBarType_->currentIndex() == 1;
    fill(comboBarFormat_, store::barFormatRows(s_.kind, rowsOf(state_, itf ? "ITF_DISP" : "EAN_DISP")));
}

// The flags follow the bar format: a flexi format (33 and above) has "F" in both; a format whose
// edit line gives a flag no digits has "0" there; the others are typed.
void FrmProperties::applyFormatRule(bool changeTexts) {
    const int format = store::levelValue(s_.kind, comboBarFormat_->currentIndex());
    QLineEdit* flags[2] = {txtFlag1_, txtFlag2_};
    if (format == store::kInherit) {
        for (auto* f : flags) f->setEnabled(true);
        return;
    }
    if (format >= 33) {
        for (auto* f : flags) {
            if (changeTexts) f->setText("F");
            f->setEnabled(false);
        }
        return;
    }
    std::string line;
    int n = 0;
    for (const auto& [key, value] : rowsOf(state_, comboBarType_->currentIndex() == 1 ? "ITF_EDIT" : "EAN_EDIT")) {
        if (key == "REF") continue;
        if (n++ == format) {
            line = value;
            break;
        }
    }
    for (int i = 0; i < 2; ++i) {
        const size_t at = i == 0 ? 0 : 2;
        const bool none = line.size() > at && line[at] == '0';
        if (none) {
            if (changeTexts) flags[i]->setText("0");
            flags[i]->setEnabled(false);
        } else {
            if (changeTexts && flags[i]->text() == "F") flags[i]->setText("0");
            flags[i]->setEnabled(true);
        }
    }
}

int FrmProperties::currentNumber() const {
    const auto& sel = s_.selection;
    switch (s_.kind) {
        case Kind::Store: return sel.store;
        case Kind::Section: return sel.section;
        case Kind::Dept: return sel.dept;
        case Kind::MainGroup: return sel.mainGroup;
        default: return 0;
    }
}

void FrmProperties::cmdOK() {
    const Kind k = s_.kind;
    const int code = toInt(txtCode_->text());
    // 1. The code: its range, then no other object of the kind with it.
    bool illegal = (k == Kind::Dept && (code < 0 || code > store::kMaxDept)) ||
                   (k == Kind::MainGroup && (code < 0 || code > store::kMaxMainGroup));
    if (!illegal && (s_.isNew || code != currentNumber())) {
        store::Selection probe = s_.selection;
        switch (k) {
            case Kind::Store: probe.store = code; break;
            case Kind::Section: probe.section = code; break;
            case Kind::Dept: probe.dept = code; break;
            case Kind::MainGroup: probe.mainGroup = code; break;
            default: break;
        }
        illegal = h_.isDuplicate(k, probe);
    }
    if (illegal) {
        Messages::key(state_, "codeillegal", MsgIcon::Exclamation, MsgButtons::Ok, this);
        txtCode_->setFocus();
        return;
    }
    // 2. Nothing that must be filled may be empty.
    for (QLineEdit* f : {txtName_, txtFlag1_, txtFlag2_}) {
        if (k == Kind::Section && f != txtName_) continue;
        if (f->text().isEmpty()) {
            Messages::key(state_, "emptyisillegal", MsgIcon::Exclamation, MsgButtons::Ok, this);
            f->setFocus();
            return;
        }
    }
    // No character of the name may turn into '?' on its way to the scales.
    if (nameCheck_ && !nameCheck_->confirm(this)) return;
    // 3. The controls into the editing record.
    auto& r = *s_.records;
    const std::string name = txtName_->text().toStdString();
    if (k != Kind::Section) {
        store::BarcodeFields* b = bar();
        b->BarType = std::to_string(std::max(0, comboBarType_->currentIndex()));
        b->Flag1 = store::flagValue(txtFlag1_->text().toStdString());
        b->Flag2 = store::flagValue(txtFlag2_->text().toStdString());
        b->BarFlag = store::barFlagValue(comboBarFlag_->currentIndex(), b->BarType);
        b->barformat = store::levelValue(k, comboBarFormat_->currentIndex());
        b->LabFormat = store::levelValue(k, comboLabFormat_->currentIndex());
    }
    const auto& sel = s_.selection;
    std::string key;
    switch (k) {
        case Kind::Store:
            r.store.ST_No = code;
            r.store.ST_Name = name;
            key = store::storeKey(code);
            break;
        case Kind::Section:
            r.section.SECT_No = code;
            r.section.SECT_Name = name;
            r.section.ST_No = sel.store;
            key = store::sectionKey(sel.store, code);
            break;
        case Kind::Dept:
            r.dept.DP_No = code;
            r.dept.DP_Name = name;
            r.dept.ST_No = sel.store;
            r.dept.SECT_No = comboSectNo_->currentData().toInt();
            key = store::deptKey(sel.store, code);
            break;
        case Kind::MainGroup:
            r.mainGroup.MG_No = code;
            r.mainGroup.MG_Name = name;
            r.mainGroup.ST_No = sel.store;
            r.mainGroup.DP_No = sel.dept;
            key = store::mainGroupKey(sel.store, sel.dept, code);
            break;
        default: return;
    }
    // 4. Save. A new store brings its department 97 and main group 997.
    if (k == Kind::Store && s_.isNew) {
        h_.saveObject(Kind::Store, sel, r, 0);
        r.dept.ST_No = code;
        h_.saveObject(Kind::Dept, sel, r, 0);
        r.mainGroup.ST_No = code;
        h_.saveObject(Kind::MainGroup, sel, r, 0);
    } else {
        h_.saveObject(k, sel, r, s_.isNew ? 0 : 1);
    }
    finish(key);
}

// ---- frmScProperties ----------------------------------------------------------------------------

const QStringList& FrmScProperties::modelRows() {
    static const QStringList rows = {"Alder", "Juniper", "Hickory", "Walnut"};
    return rows;
}

const QStringList& FrmScProperties::layoutRows() {
    static const QStringList rows = {"Alder-A (74 keys)",  "Alder-B (40 keys)",  "Alder-C (32 keys)", "Alder-D (56 keys)",
                                     "Alder-E (76 keys)",  "Walnut-A (32 keys)", "Walnut-B (56 keys)", "Alder-F (72 keys)",
                                     "Birch-A (120 keys)", "Alder-G (96 keys)"};
    return rows;
}

FrmScProperties::FrmScProperties(ProgramState& state, store::Hierarchy& hierarchy, PropertySession& session,
                                 QWidget* parent)
    : PropertyForm(state, hierarchy, session, parent) {
    setObjectName("frmScProperties");
    const char* sec = "frm_ScProperties";
    auto* grid = new QGridLayout;
    int row = 0;

    auto* ipRow = new QHBoxLayout;
    for (int i = 0; i < 4; ++i) {
        ip_[i] = new QLineEdit(this);
        ip_[i]->setObjectName(QString("txtScaleIP_%1").arg(i));
        ip_[i]->setAlignment(Qt::AlignRight);
        ip_[i]->setMaximumWidth(48);
        ipRow->addWidget(ip_[i]);
        if (i < 3) ipRow->addWidget(new QLabel(".", this));
    }
    ipRow->addStretch();
    auto* address = new AddressBoxes(ip_, this);
    grid->addWidget(label(this, "labScaleIP", text(sec, "labScaleIP")), row, 0);
    grid->addLayout(ipRow, row++, 1);

    txtScaleNo_ = new QLineEdit(this);
    txtScaleNo_->setObjectName("txtScaleNo");
    txtScaleNo_->setMaxLength(columnSize("SCALE", "SC_No"));
    grid->addWidget(label(this, "labScaleNo", text(sec, "labScaleNo")), row, 0);
    grid->addWidget(txtScaleNo_, row++, 1);

    txtScaleDest_ = new QLineEdit(this);
    txtScaleDest_->setObjectName("txtScaleDest");
    txtScaleDest_->setMaxLength(columnSize("SCALE", "SC_Dest"));
    grid->addWidget(label(this, "labScaleDest", text(sec, "labScaleDest")), row, 0);
    grid->addWidget(txtScaleDest_, row++, 1);

    comboModel_ = combo(this, "ComboScaleModelID");
    comboModel_->addItems(modelRows());
    grid->addWidget(label(this, "labScaleModelID", text(sec, "labScaleModelID")), row, 0);
    grid->addWidget(comboModel_, row++, 1);

    comboLayout_ = combo(this, "ComboScPSKLayout");
    comboLayout_->addItems(layoutRows());
    grid->addWidget(label(this, "labScalePSKLayout", text(sec, "labScalePSKLayout")), row, 0);
    grid->addWidget(comboLayout_, row++, 1);

    chkUsed_ = new QCheckBox(text(sec, "chkScaleUsed"), this);
    chkUsed_->setObjectName("chkScaleUsed");
    grid->addWidget(chkUsed_, row++, 1);
    grid->setColumnStretch(1, 1);

    layOut(grid, sec);

    const auto& m = s_.records->machine;
    auto groups = store::splitAddress(m.SC_IP);
    for (int i = 0; i < 4; ++i) ip_[i]->setText(qs(groups[static_cast<size_t>(i)]));
    address->remember();
    txtScaleNo_->setText(qs(m.SC_No));
    txtScaleDest_->setText(qs(m.SC_Dest));
    setIndex(comboModel_, m.SC_MODEL_ID);
    setIndex(comboLayout_, m.SC_PSK_Layout);
    chkUsed_->setChecked(m.SC_Used != 0);
    ip_[0]->setFocus();
    ip_[0]->selectAll();
    setMinimumWidth(400);
}

void FrmScProperties::cmdOK() {
    // 1. The boxes joined in the padded form; an empty box counts as 0, leading zeros go
    // ("007" is 7), a group above 255 counts as 255.
    std::vector<std::string> groups;
    for (auto* box : ip_) groups.push_back(std::to_string(std::min(255, toInt(box->text()))));
    const std::string address = store::padAddress(groups);
    auto& sel = s_.selection;
    // 2-3. The address must be set and unique in the whole table.
    bool refused = address == store::kNoMachineAddress;
    if (!refused && (s_.isNew || address != sel.address)) {
        store::Selection probe = sel;
        probe.address = address;
        refused = h_.isDuplicate(Kind::Machine, probe);
    }
    if (refused) {
        Messages::key(state_, "changeIP", MsgIcon::Exclamation, MsgButtons::Ok, this);
        ip_[0]->setFocus();
        return;
    }
    // 4. A machine has a number.
    if (txtScaleNo_->text().isEmpty()) {
        Messages::key(state_, "emptyisillegal", MsgIcon::Exclamation, MsgButtons::Ok, this);
        txtScaleNo_->setFocus();
        return;
    }
    // 5. Save.
    auto& m = s_.records->machine;
    m.SC_IP = address;
    m.SC_No = txtScaleNo_->text().toStdString();
    m.SC_Dest = txtScaleDest_->text().toStdString();
    m.SC_MODEL_ID = std::max(0, comboModel_->currentIndex());
    m.SC_PSK_Layout = std::max(0, comboLayout_->currentIndex());
    m.SC_Used = chkUsed_->isChecked() ? 1 : 0;
    m.ST_No = sel.store;
    m.SECT_No = sel.section;
    h_.saveObject(Kind::Machine, sel, *s_.records, s_.isNew ? 0 : 1);
    finish(store::machineKey(sel.store, sel.section, address));
}

// ---- frmSearch ----------------------------------------------------------------------------------

QString FrmSearch::formatPrice(int64_t scaled, int decimals, const QString& sign) {
    if (decimals <= 0) return QString::number(scaled);
    int64_t div = 1;
    for (int i = 0; i < decimals; ++i) div *= 10;
    return QString::number(scaled / div) + sign + QString::number(scaled % div).rightJustified(decimals, '0');
}

int64_t FrmSearch::parsePrice(const QString& text, int decimals, const QString& sign) {
    QString whole = text.trimmed(), frac;
    int at = sign.isEmpty() ? -1 : whole.indexOf(sign);
    if (at >= 0) {
        frac = whole.mid(at + sign.size());
        whole = whole.left(at);
    }
    QString digits;
    for (QChar c : whole)
        if (c.isDigit()) digits += c;
    QString f;
    for (QChar c : frac)
        if (c.isDigit()) f += c;
    f = f.left(decimals).leftJustified(decimals, '0');
    int64_t v = (digits + f).left(12).toLongLong();
    return std::min<int64_t>(v, 999999);
}

FrmSearch::FrmSearch(ProgramState& state, store::Hierarchy& hierarchy, PropertySession& session, QWidget* parent)
    : PropertyForm(state, hierarchy, session, parent) {
    setObjectName("frmSearch");
    const char* sec = "frm_Search";
    auto* grid = new QGridLayout;
    int row = 0;
    txtName_ = new QLineEdit(this);
    txtName_->setObjectName("txtSearchName");
    txtName_->setMaxLength(columnSize("SEARCH", "SH_Name"));
    guardName(txtName_);
    grid->addWidget(label(this, "labName", text(sec, "labName")), row, 0);
    grid->addWidget(txtName_, row++, 1, 1, 2);
    grid->addWidget(label(this, "labFrom", text(sec, "labFrom")), row, 1);
    grid->addWidget(label(this, "labTo", text(sec, "labTo")), row++, 2);

    const QString sign = qs(state.settings.DecimalSign());
    auto pair = [&](const char* lab, const char* a, const char* b, int maxLen, int low, int high, bool price) {
        QLineEdit* from = price ? numberBox(this, a, 8, sign) : numberBox(this, a, maxLen);
        QLineEdit* to = price ? numberBox(this, b, 8, sign) : numberBox(this, b, maxLen);
        grid->addWidget(label(this, lab, text(sec, lab)), row, 0);
        grid->addWidget(from, row, 1);
        grid->addWidget(to, row++, 2);
        from->installEventFilter(this);
        to->installEventFilter(this);
        from->setAlignment(Qt::AlignRight);
        to->setAlignment(Qt::AlignRight);
        ranges_.push_back({from, to, low, high});
    };
    pair("labDept_No", "txtDept_No1", "txtDept_No2", 2, 1, store::kMaxDept, false);
    pair("labMG_No", "txtMG_No1", "txtMG_No2", 3, 1, store::kMaxMainGroup, false);
    pair("labPLU_No", "txtPLU_No1", "txtPLU_No2", 6, 1, 999997, false);
    pair("labPLU_UPrice", "meditUPrice1", "meditUPrice2", 8, 0, 0, true);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(2, 1);

    layOut(grid, sec);

    const auto& r = s_.records->search;
    const int dec = state.settings.PriceDecimals;
    txtName_->setText(qs(r.SH_Name));
    ranges_[0].from->setText(QString::number(r.DP_No1));
    ranges_[0].to->setText(QString::number(r.DP_No2));
    ranges_[1].from->setText(QString::number(r.MG_No1));
    ranges_[1].to->setText(QString::number(r.MG_No2));
    ranges_[2].from->setText(QString::number(r.PLU_No1));
    ranges_[2].to->setText(QString::number(r.PLU_No2));
    ranges_[3].from->setText(formatPrice(r.PLU_UPrice1, dec, sign));
    ranges_[3].to->setText(formatPrice(r.PLU_UPrice2, dec, sign));
    txtName_->setFocus();
    setMinimumWidth(420);
}

const FrmSearch::Range* FrmSearch::rangeOf(QLineEdit* field) const {
    for (const auto& r : ranges_)
        if (r.from == field || r.to == field) return &r;
    return nullptr;
}

bool FrmSearch::leaveField(QLineEdit* field) {
    const Range* r = rangeOf(field);
    if (!r) return true;
    const bool price = r->high == 0;
    const int dec = state_.settings.PriceDecimals;
    const QString sign = qs(state_.settings.DecimalSign());
    auto value = [&](QLineEdit* e) -> int64_t {
        return price ? parsePrice(e->text(), dec, sign) : e->text().trimmed().toLongLong();
    };
    if (price) {
        field->setText(formatPrice(value(field), dec, sign));
    } else {
        const int64_t v = value(field);
        if (v < r->low || v > r->high) {
            Messages::key(state_, "codeillegal", MsgIcon::Exclamation, MsgButtons::Ok, this);
            field->setFocus();
            field->selectAll();
            return false;
        }
    }
    // A "from" above its "to" lifts the "to".
    if (value(r->from) > value(r->to)) r->to->setText(r->from->text());
    return true;
}

bool FrmSearch::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusOut && !validating_) {
        auto* fe = static_cast<QFocusEvent*>(event);
        auto* field = qobject_cast<QLineEdit*>(watched);
        // Leaving for another window is not leaving the field; leaving for cancel skips the check.
        const bool toOtherWindow = fe->reason() == Qt::ActiveWindowFocusReason || fe->reason() == Qt::PopupFocusReason;
        if (field && !toOtherWindow && QApplication::focusWidget() != cancel_) {
            validating_ = true;
            leaveField(field);
            validating_ = false;
        }
    }
    return PropertyForm::eventFilter(watched, event);
}

void FrmSearch::cmdOK() {
    // The field being left is checked first, as leaving it for the button would.
    if (auto* f = qobject_cast<QLineEdit*>(focusWidget()); f && rangeOf(f)) {
        validating_ = true;
        const bool ok = leaveField(f);
        validating_ = false;
        if (!ok) return;
    }
    // The prices as shown are complete: reformat any that was not left yet.
    const int dec = state_.settings.PriceDecimals;
    const QString sign = qs(state_.settings.DecimalSign());
    for (auto* e : {ranges_[3].from, ranges_[3].to}) e->setText(formatPrice(parsePrice(e->text(), dec, sign), dec, sign));

    auto& sel = s_.selection;
    auto& r = s_.records->search;
    if (s_.isNew) {
        store::Selection probe = sel;
        probe.search = r.SH_No;
        if (h_.isDuplicate(Kind::Search, probe)) {
            Messages::key(state_, "codeillegal", MsgIcon::Exclamation, MsgButtons::Ok, this);
            return;
        }
    }
    r.SH_Name = txtName_->text().toStdString();
    r.DP_No1 = toInt(ranges_[0].from->text());
    r.DP_No2 = toInt(ranges_[0].to->text());
    r.MG_No1 = toInt(ranges_[1].from->text());
    r.MG_No2 = toInt(ranges_[1].to->text());
    r.PLU_No1 = toInt(ranges_[2].from->text());
    r.PLU_No2 = toInt(ranges_[2].to->text());
    // The decimal sign taken out leaves the whole number.
    auto whole = [&](QLineEdit* e) { return static_cast<int32_t>(QString(e->text()).remove(sign).toLongLong()); };
    r.PLU_UPrice1 = whole(ranges_[3].from);
    r.PLU_UPrice2 = whole(ranges_[3].to);
    r.ST_No = sel.store;
    h_.saveObject(Kind::Search, sel, *s_.records, s_.isNew ? 0 : 1);
    finish(store::searchKey(sel.store, r.SH_No));
}

}  // namespace brindale::shell
