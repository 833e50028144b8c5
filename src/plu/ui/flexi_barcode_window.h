#pragma once
// frmFlexiBarcode: one layout of KVR_14 at a time in its combos, its pattern in labFBar_Item,
// saved with its record, deleted, and the table sent.
#include <QDialog>
#include <functional>
#include <map>

#include "plu/flexi_barcode.h"

class QComboBox;
class QLabel;
class QPushButton;

namespace brindale::shell {
struct ProgramState;
}

namespace brindale::plu::ui {

class FrmFlexiBarcode : public QDialog {
    Q_OBJECT
public:
    using Runner = std::function<void()>;  // cmdDownload: the transfer of table 14
    FrmFlexiBarcode(shell::ProgramState& state, Runner runner, QWidget* parent = nullptr);

    FlexiLayout layout() const;  // what the combos hold
    bool cmdSave();              // false when the layout is illegal ("fbarcodeillegal")
    void cmdDelete();
    void numberChanged();        // the row of the number into the combos, or the defaults

private:
    QString text(const char* key) const;
    QComboBox* combo(const char* name, const QStringList& items);
    void showLayout(const FlexiLayout& l);
    void updatePattern();

    shell::ProgramState& state_;
    Runner runner_;
    std::map<std::string, QComboBox*> combos_;
    QLabel* labItem_;
    QPushButton* cmdDelete_;
};

}  // namespace brindale::plu::ui
