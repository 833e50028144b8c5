#pragma once
// frmLabelFormat: the editor of the 99 free label formats. The label is drawn in its own units,
// 80 a millimetre, and shown through one zoom factor, so every rule in units holds at any zoom.
// Each placed item is a box (picItem_N, with its number in txtItem_N) that the current item
// moves and resizes by the mouse.
#include <QDialog>
#include <QWidget>
#include <array>
#include <functional>

#include "labelformat/codec.h"
#include "transfer/flows.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QScrollArea;
class QScrollBar;

namespace brindale::shell {
struct ProgramState;
}

namespace brindale::labelformat::ui {

class FrmLabelFormat;

// One item's box on the label; its geometry is kept in label units.
class ItemBox : public QWidget {
    Q_OBJECT
public:
    ItemBox(FrmLabelFormat& form, int slot, QWidget* parent);
    int slot() const { return slot_; }
    // Left, top, width, height in units.
    QRect units;

protected:
    void paintEvent(QPaintEvent*) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;

private:
    QPoint toUnits(const QPointF& p) const;
    FrmLabelFormat& form_;
    int slot_;
};

class FrmLabelFormat : public QDialog {
    Q_OBJECT
public:
    // Pixels per unit at 100 %; the editor zooms from 25 % to 400 % of it.
    static constexpr double kDefaultZoom = 0.07;
    using FlowRunner = std::function<transfer::FlowOutcome(transfer::Flow, transfer::FlowHooks)>;
    FrmLabelFormat(shell::ProgramState& state, FlowRunner runFlow, QWidget* parent = nullptr);

    // Pixels per label unit.
    double zoom() const { return zoom_; }
    void setZoom(double pixelsPerUnit);
    // The zoom at which a millimetre of the label is a millimetre on the screen, from the screen's
    // logical resolution (what the desktop sizes its fonts by).
    double realSizeZoom() const;
    // The zooms of comboZoom: 25 % to 400 % of kDefaultZoom, then real size.
    static constexpr int kZoomPercents[] = {25, 50, 100, 200, 400};

    const FormatState& format() const { return st_; }
    const QString& SaveState() const { return saveState_; }
    int CurItem() const { return curItem_; }
    int DragMode() const { return dragMode_; }
    int HotEdge() const { return hotEdge_; }
    int NearEdge() const { return nearEdge_; }
    int formatNumber() const;

    // The routines of the window, as its controls run them.
    void ListItemSet(int type);
    void ItemDisplay(int type);
    void TextInitialize();
    void GetPosValue(int angle);
    void SaveTempItemString();
    void cmdSave();
    void cmdCopy();
    void cmdDelete();
    void cmdDownload();
    void cmdUpload();
    void cmdClose();
    // Opens (or raises) frmLabelPreview, which follows every edit from then on.
    void cmdPreview();
    // The record cmdDownload would send for the format as it stands in the window.
    Bytes currentRecord() const;
    class FrmLabelPreview* preview() const { return preview_; }

    // The box events, positions in units within the box.
    void boxMove(ItemBox& box, QPoint p, bool buttonDown);
    void boxPress(ItemBox& box, QPoint p);
    void boxRelease(ItemBox& box);

    ItemBox* picItem(int slot) const { return picItem_[static_cast<size_t>(slot)]; }
    QWidget* picLabel() const { return picLabel_; }
    int labelHeightUnits() const;
    int labelWidthUnits() const;

protected:
    void closeEvent(QCloseEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void showEvent(QShowEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* e) override;

private:
    QString text(const char* key) const;
    QString param(const char* section, size_t i) const;
    void build();
    void formatChanged(int index);
    void labelTypeChanged();
    void listItemChecked(QListWidgetItem* item);
    void selectItemChanged(int row);
    void fieldLeft(QLineEdit* field);
    void labelSizeLeft(bool width);
    void angleChanged(int pos);
    void statusChanged(int pos);
    void fontChanged(int pos);
    void thickChanged();
    void setLabelGeometry();
    void placeBox(ItemBox& box);
    void fieldsFromBox(const ItemBox& box);
    void limitSize();
    void setBoxFont();
    void classFields(const std::string& cls);
    bool askUnsaved();
    void afterUpload();
    void reportCodeProblems(const CodeReport& r);
    void reportDecodeProblems(const DecodeReport& r);
    int labelType() const;
    std::string currentClass() const;
    int fieldInt(QLineEdit* f) const;
    void refreshPreview();
    void zoomChosen(int index);
    void scrollToTopLeft();

    shell::ProgramState& state_;
    FlowRunner runFlow_;
    FormatState st_;
    int curItem_ = 0;
    std::string ItemAttr_ = "0070";
    std::string ItemValue_ = "02";
    QString saveState_ = "1";
    int lastFormatIndex_ = 0;
    int dragMode_ = 0, hotEdge_ = 0, nearEdge_ = 0;
    QPoint dragStart_, dragOffset_;
    double zoom_ = kDefaultZoom;
    bool quiet_ = false;  // programmatic changes run no handlers

    QComboBox *comboFreeFormatNo_, *comboFreeFormatNoC_, *comboLabelType_;
    QCheckBox* chkGap_;
    QWidget* picGap_;
    QLineEdit *txtLabelWidth_, *txtLabelHeight_;
    QListWidget *listItem_, *SelectItem_;
    QLineEdit *txtItemPosX_, *txtItemPosY_, *txtItemWidth_, *txtItemHeight_, *txtThickOrImageNo_;
    QComboBox *comboItemAngle_, *comboItemFont_, *comboItemStatus_;
    QLabel *labThickOrImageNo_, *labThickUnit_;
    QWidget *picLabelbox_, *picLabel_;
    QScrollArea* scrollLabel_;
    QComboBox* comboZoom_;
    QScrollBar* VScrollDisplayLabel_;
    class FrmLabelPreview* preview_ = nullptr;
    RecordLayout layout_;
    std::array<ItemBox*, kSlotCount> picItem_{};
    std::array<QLabel*, kSlotCount> txtItem_{};
};

}  // namespace brindale::labelformat::ui
