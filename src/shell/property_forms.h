#pragma once
// The three property forms of the chain's objects: frmProperties (store, section, department,
// main group), frmScProperties (machine) and frmSearch (search set). Each is modal, edits one
// editing record, checks it and saves it; the tree is rebuilt from the tables afterwards.
#include <QDialog>
#include <string>

#include "program_state.h"
#include "store/hierarchy.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QLayout;
class QPushButton;

namespace brindale::shell {

class CodePageInput;

// What the tree hands to a property form, and what the form hands back.
struct PropertySession {
    store::Kind kind = store::Kind::None;
    bool isNew = true;            // 0 new, 1 edit in the old terms
    store::Selection selection;   // the object as it was (edit) or its parents (new)
    store::EditRecords* records = nullptr;
    bool cancellable = true;      // the very first store of single store mode is not
    std::string savedKey;         // the key of the saved object, with the numbers as now saved
};

// The caption of a property form: the kind's title, a blank and "properties".
std::string propertyCaption(const ProgramState& state, store::Kind kind);

// Base of the three forms: the session, the OK and cancel buttons, and a cancel that can be
// refused.
class PropertyForm : public QDialog {
    Q_OBJECT
public:
    PropertyForm(ProgramState& state, store::Hierarchy& hierarchy, PropertySession& session, QWidget* parent);

    void reject() override;  // does nothing while the form cannot be cancelled
    QPushButton* okButton() const { return ok_; }
    QPushButton* cancelButton() const { return cancel_; }

protected:
    virtual void cmdOK() = 0;
    // The fields above, the OK and cancel buttons below them.
    void layOut(QLayout* fields, const char* section);
    void runOK();
    void finish(const std::string& key);
    // Key texts of the form's own section.
    QString text(const char* section, const char* key) const;
    int columnSize(const char* table, const char* column) const;

    ProgramState& state_;
    store::Hierarchy& h_;
    PropertySession& s_;
    QPushButton* ok_ = nullptr;
    QPushButton* cancel_ = nullptr;
};

class FrmProperties : public PropertyForm {
    Q_OBJECT
public:
    FrmProperties(ProgramState& state, store::Hierarchy& hierarchy, PropertySession& session, QWidget* parent = nullptr);

protected:
    void cmdOK() override;

private:
    void fillBarFormatCombo();
    void applyFormatRule(bool changeTexts);
    store::BarcodeFields* bar();
    int currentNumber() const;

    QLineEdit *txtCode_, *txtName_, *txtFlag1_, *txtFlag2_;
    CodePageInput* nameCheck_ = nullptr;  // a name that goes into a scale record
    QComboBox *comboBarType_, *comboBarFormat_, *comboBarFlag_, *comboLabFormat_, *comboSectNo_;
};

class FrmScProperties : public PropertyForm {
    Q_OBJECT
public:
    FrmScProperties(ProgramState& state, store::Hierarchy& hierarchy, PropertySession& session,
                    QWidget* parent = nullptr);
    static const QStringList& modelRows();
    static const QStringList& layoutRows();

protected:
    void cmdOK() override;

private:
    QLineEdit* ip_[4];
    QLineEdit *txtScaleNo_, *txtScaleDest_;
    QComboBox *comboModel_, *comboLayout_;
    QCheckBox* chkUsed_;
};

class FrmSearch : public PropertyForm {
    Q_OBJECT
public:
    FrmSearch(ProgramState& state, store::Hierarchy& hierarchy, PropertySession& session, QWidget* parent = nullptr);

    // What leaving a field does: a range box checks its range (false: refused, focus back), a
    // price reformats; then a "from" above its "to" lifts the "to".
    bool leaveField(QLineEdit* field);

    // A price as shown, from the whole number, and back.
    static QString formatPrice(int64_t scaled, int decimals, const QString& sign);
    static int64_t parsePrice(const QString& text, int decimals, const QString& sign);

protected:
    void cmdOK() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Range {
        QLineEdit* from;
        QLineEdit* to;
        int low, high;  // high 0 for the prices, which have no range of their own
    };
    const Range* rangeOf(QLineEdit* field) const;

    QLineEdit* txtName_;
    std::vector<Range> ranges_;
    bool validating_ = false;
};

}  // namespace brindale::shell
