#pragma once
// frmLabelPreview: the label as printed, from the record the editor would send, at a zoom of 25 %
// to 400 % (100 %: one screen pixel a printer dot) or at real size, in one print mode, with the
// values of the PLU whose number is in txtPluNo (fixed samples while there is none) and the
// picture of KVR_37 for its image number; saved as PNG at one pixel a dot. With the editor's gap
// shown, a strip below the label stands for the gap to the next one (not in the PNG).
#include <QDialog>

#include "labelformat/ui/label_render.h"

class QComboBox;
class QLabel;
class QLineEdit;

namespace brindale::shell {
struct ProgramState;
}

namespace brindale::labelformat::ui {

class FrmLabelPreview : public QDialog {
    Q_OBJECT
public:
    FrmLabelPreview(const shell::ProgramState& state, QWidget* parent = nullptr);
    void setRecord(const RecordView& view);
    // Draws with that PLU's values; false (and the samples) when there is no such PLU.
    bool setPluNumber(int64_t pluNo);
    void setGap(bool shown);
    // The gap strip's height in printer dots.
    static constexpr int kGapDots = 16;
    const QImage& image() const { return image_; }
    // Screen pixels a printer dot at the chosen zoom.
    double pixelsPerDot() const;
    bool exportPng(const QString& path) const { return image_.save(path, "PNG"); }

protected:
    void wheelEvent(QWheelEvent* e) override;

private:
    void redraw();
    const shell::ProgramState& state_;
    RecordView view_;
    QImage image_;
    PluSample plu_;
    bool gap_ = false;
    QComboBox *comboMode_, *comboZoom_;
    QLineEdit* txtPluNo_;
    QLabel* picPreview_;
};

}  // namespace brindale::labelformat::ui
