#pragma once
// frmLabelPreview: the label as printed, from the record the editor would send, at a zoom of 25 %
// to 400 % (100 %: one screen pixel a printer dot) or at real size, in one print mode; saved as
// PNG at one pixel a dot.
#include <QDialog>

#include "labelformat/ui/label_render.h"

class QComboBox;
class QLabel;

namespace brindale::shell {
struct ProgramState;
}

namespace brindale::labelformat::ui {

class FrmLabelPreview : public QDialog {
    Q_OBJECT
public:
    FrmLabelPreview(const shell::ProgramState& state, QWidget* parent = nullptr);
    void setRecord(const RecordView& view);
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
    QComboBox *comboMode_, *comboZoom_;
    QLabel* picPreview_;
};

}  // namespace brindale::labelformat::ui
