#include "labelformat/ui/label_preview.h"
#include "shell/form_scaling.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPainter>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QScreen>
#include <QVBoxLayout>
#include <QWheelEvent>

#include "labelformat/plu_sample.h"
#include "scalefiles/picture_rows.h"
#include "shell/program_state.h"

namespace brindale::labelformat::ui {

namespace {
const int kZooms[] = {25, 50, 100, 200, 400};
}

FrmLabelPreview::FrmLabelPreview(const shell::ProgramState& state, QWidget* parent) : QDialog(parent), state_(state) {
    setObjectName("frmLabelPreview");
    auto text = [&](const char* key) { return QString::fromStdString(state_.text("frm_LabelFormat", key)); };
    setWindowTitle(text("cmdPreview"));
    comboMode_ = new QComboBox(this);
    comboMode_->setObjectName("comboMode");
    comboMode_->addItems({text("modePrepack"), text("modeCounter"), text("modeSelf")});
    comboZoom_ = new QComboBox(this);
    comboZoom_->setObjectName("comboZoom");
    for (int z : kZooms) comboZoom_->addItem(QString("%1 %").arg(z));
    comboZoom_->addItem(text("labRealSize"));
    comboZoom_->setCurrentIndex(2);
    txtPluNo_ = new QLineEdit(this);
    txtPluNo_->setObjectName("txtPluNo");
    txtPluNo_->setMaxLength(6);
    txtPluNo_->setFixedWidth(80);
    auto* exportButton = new QPushButton(text("cmdExport"), this);
    exportButton->setObjectName("cmdExport");
    picPreview_ = new QLabel(this);
    picPreview_->setObjectName("picPreview");
    auto* scroll = new QScrollArea(this);
    scroll->setWidget(picPreview_);
    scroll->setWidgetResizable(false);
    auto* top = new QHBoxLayout;
    auto* labMode = new QLabel(text("labMode"), this);
    labMode->setObjectName("labMode");
    auto* labZoom = new QLabel(text("labZoom"), this);
    labZoom->setObjectName("labZoom");
    auto* labPluNo = new QLabel(text("labPluNo"), this);
    labPluNo->setObjectName("labPluNo");
    top->addWidget(labPluNo);
    top->addWidget(txtPluNo_);
    top->addWidget(labMode);
    top->addWidget(comboMode_);
    top->addWidget(labZoom);
    top->addWidget(comboZoom_);
    top->addStretch(1);
    top->addWidget(exportButton);
    auto* all = new QVBoxLayout(this);
    all->addLayout(top);
    all->addWidget(scroll, 1);
    connect(txtPluNo_, &QLineEdit::editingFinished, this, [this] {
        bool ok = false;
        const qlonglong n = txtPluNo_->text().trimmed().toLongLong(&ok);
        setPluNumber(ok ? n : 0);
    });
    connect(comboMode_, &QComboBox::currentIndexChanged, this, [this](int) { redraw(); });
    connect(comboZoom_, &QComboBox::currentIndexChanged, this, [this](int) { redraw(); });
    connect(exportButton, &QPushButton::clicked, this, [this] {
        const QString path = QFileDialog::getSaveFileName(this, windowTitle(), QString(), "PNG (*.png)");
        if (!path.isEmpty()) exportPng(path);
    });
    resize(640, 560);
    // The system language's character set on every control.
    shell::prepareForm(this);
}

double FrmLabelPreview::pixelsPerDot() const {
    const int i = comboZoom_->currentIndex();
    if (i >= 0 && i < static_cast<int>(std::size(kZooms))) return kZooms[i] / 100.0;
    // Real size: the screen's logical resolution (as the editor's), 8 dots a millimetre.
    const QScreen* s = screen();
    const double dpi = s ? s->logicalDotsPerInchX() : 96.0;
    return dpi / 25.4 / 8.0;
}

void FrmLabelPreview::setRecord(const RecordView& view) {
    view_ = view;
    redraw();
}

bool FrmLabelPreview::setPluNumber(int64_t pluNo) {
    plu_ = pluNo > 0 && state_.Conn ? findPluSample(*state_.Conn, pluNo, state_.codecEnvironment()) : PluSample{};
    redraw();
    return plu_.found;
}

void FrmLabelPreview::setGap(bool shown) {
    gap_ = shown;
    redraw();
}

void FrmLabelPreview::redraw() {
    PreviewData d;
    d.mode = static_cast<PrintMode>(std::max(0, comboMode_->currentIndex()));
    NumberFormat nf;
    nf.priceDecimals = state_.settings.PriceDecimals;
    nf.weightDecimals = state_.settings.WeightDecimals;
    nf.decimalSign = state_.settings.DecimalSign();
    d.sample = labelSample(plu_, nf);
    if (state_.Conn) {
        // Only the picture on screen in the image window is in KVR_37.
        int number = 0;
        const QImage picture = pictureFromImageRecords(scalefiles::pictureRows(*state_.Conn, scalefiles::PictureTable::Image), number);
        if (!picture.isNull()) d.images[number] = picture;
    }
    image_ = renderLabel(view_, d);
    QImage shown = image_;
    if (gap_) {
        shown = QImage(image_.width(), image_.height() + kGapDots, QImage::Format_RGB32);
        shown.fill(QColor(160, 160, 160));
        QPainter p(&shown);
        p.drawImage(0, 0, image_);
    }
    const double k = pixelsPerDot();
    const QSize size(std::max(1, qRound(shown.width() * k)), std::max(1, qRound(shown.height() * k)));
    picPreview_->setPixmap(QPixmap::fromImage(shown.scaled(size, Qt::IgnoreAspectRatio, k < 1.0 ? Qt::SmoothTransformation : Qt::FastTransformation)));
    picPreview_->resize(size);
}

void FrmLabelPreview::wheelEvent(QWheelEvent* e) {
    if (!(e->modifiers() & Qt::ControlModifier)) return QDialog::wheelEvent(e);
    const int last = static_cast<int>(std::size(kZooms)) - 1;
    const int i = std::min(comboZoom_->currentIndex(), last);
    comboZoom_->setCurrentIndex(std::clamp(i + (e->angleDelta().y() > 0 ? 1 : -1), 0, last));
    e->accept();
}

}  // namespace brindale::labelformat::ui
