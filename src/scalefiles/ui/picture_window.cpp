#include "scalefiles/ui/picture_window.h"
#include "shell/form_scaling.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "shell/messages.h"
#include "shell/program_state.h"
#include "store/database.h"

namespace brindale::scalefiles {

namespace {

QString qs(const std::string& s) { return QString::fromStdString(s); }

FrmPicture::FileChooser& chooser() {
    static FrmPicture::FileChooser c;
    return c;
}

constexpr int kPreviewMargin = 1;  // room for the outline round the picture's frame

}  // namespace

LoadedPicture loadPicture(const QString& path) {
    QImageReader reader(path);
    reader.setAutoTransform(false);  // the pixels as stored: a scale knows no orientation tag
    QImage img = reader.read();
    if (img.isNull()) return {QImage(), reader.errorString()};
    // One ARGB32 copy whose scan lines the packing reads; no thresholding, no dithering.
    return {img.convertToFormat(QImage::Format_ARGB32), {}};
}

ArgbPixels pixelsOf(const QImage& argb) {
    if (argb.isNull()) return {};
    return ArgbPixels{argb.width(), argb.height(), reinterpret_cast<const uint32_t*>(argb.constBits()),
                      static_cast<std::size_t>(argb.bytesPerLine()) / 4};
}

QImage printedImage(const MonoBitmap& printed, int width, int height) {
    const int m = kPreviewMargin;
    QImage out(printed.width + 2 * m, printed.height + 2 * m, QImage::Format_RGB32);
    out.fill(QColor(0xE0, 0xE0, 0xE0));  // outside the records
    for (int y = 0; y < printed.height; ++y) {
        auto* line = reinterpret_cast<uint32_t*>(out.scanLine(y + m)) + m;
        for (int x = 0; x < printed.width; ++x) line[x] = printed.at(x, y) ? 0xFF000000u : 0xFFFFFFFFu;
    }
    if (width > 0 && height > 0) {
        // The data rows start with the blank row below the picture at the bottom; picture row r
        // prints at y = printed.height - 1 - height + r, so its row 0 falls just above the data.
        QPainter p(&out);
        p.setPen(QPen(QColor(0xD0, 0x20, 0x20), 1));
        const int top = printed.height - 1 - height + m;
        p.drawRect(QRect(m - 1, top - 1, width + 1, height + 1));
    }
    return out;
}

void FrmPicture::setFileChooser(FileChooser c) { chooser() = std::move(c); }

FrmPicture::FrmPicture(shell::ProgramState& state, PictureTable table, Runner runner, QWidget* parent)
    : QDialog(parent), state_(state), table_(table), runner_(std::move(runner)) {
    const bool image = table_ == PictureTable::Image;
    setObjectName(image ? "frmImage" : "frmLogo");
    setModal(true);
    setWindowTitle(text(image ? "frmImage" : "frmLogo"));

    lblImageNum_ = new QLabel(text("lblImageNum"), this);
    lblImageNum_->setObjectName("lblImageNum");
    combImageNum_ = new QComboBox(this);
    combImageNum_->setObjectName("combImageNum");
    const int count = image ? kImageMaxNumber : kLogoMaxNumber;
    for (int i = 1; i <= count; ++i) combImageNum_->addItem(QString::number(i));
    combImageNum_->setCurrentIndex(0);
    cmdOpen_ = new QPushButton(text("cmdOpen"), this);
    cmdOpen_->setObjectName("cmdOpen");
    cmdSend_ = new QPushButton(text("cmdSend"), this);
    cmdSend_->setObjectName("cmdSend");
    cmdSend_->setEnabled(false);
    if (image) {
        cmdDelete_ = new QPushButton(text("cmdDelete"), this);
        cmdDelete_->setObjectName("cmdDelete");
    }
    cmdClose_ = new QPushButton(text("cmdClose"), this);
    cmdClose_->setObjectName("cmdClose");
    lblSize_ = new QLabel(text("lblSize"), this);
    lblSize_->setObjectName("lblSize");
    lblWarning_ = new QLabel(text("lblWarning"), this);
    lblWarning_->setObjectName("lblWarning");
    lblWarning_->setWordWrap(true);
    lblPreview_ = new QLabel(text("lblPreview"), this);
    lblPreview_->setObjectName("lblPreview");
    lblPreview_->setWordWrap(true);

    picture1_ = new QLabel;
    picture1_->setObjectName("Picture1");
    picture1_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    pictureArea_ = new QScrollArea(this);
    pictureArea_->setObjectName("Picture1Area");
    pictureArea_->setWidget(picture1_);
    pictureArea_->setWidgetResizable(false);
    picPreview_ = new QLabel;
    picPreview_->setObjectName("picPreview");
    previewArea_ = new QScrollArea(this);
    previewArea_->setObjectName("picPreviewArea");
    previewArea_->setWidget(picPreview_);
    picPreviewFit_ = new QLabel(this);
    picPreviewFit_->setObjectName("picPreviewFit");
    picPreviewFit_->setFixedSize(180, 360);
    picPreviewFit_->setAlignment(Qt::AlignCenter);
    picPreviewFit_->setFrameShape(QFrame::Box);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(lblImageNum_);
    buttons->addWidget(combImageNum_);
    buttons->addWidget(cmdOpen_);
    buttons->addWidget(cmdSend_);
    if (cmdDelete_) buttons->addWidget(cmdDelete_);
    buttons->addStretch(1);
    buttons->addWidget(cmdClose_);
    auto* pictures = new QGridLayout;
    pictures->addWidget(pictureArea_, 0, 0, 2, 1);
    pictures->addWidget(previewArea_, 0, 1, 2, 1);
    pictures->addWidget(picPreviewFit_, 0, 2, Qt::AlignTop);
    pictures->setColumnStretch(0, 1);
    pictures->setColumnStretch(1, 1);
    auto* v = new QVBoxLayout(this);
    v->addLayout(buttons);
    v->addWidget(lblSize_);
    v->addWidget(lblWarning_);
    v->addLayout(pictures, 1);
    v->addWidget(lblPreview_);
    // At least 7305 twips wide: 487 pixels at 15 twips a pixel.
    setMinimumWidth(487);
    resize(980, 640);

    connect(cmdOpen_, &QPushButton::clicked, this, &FrmPicture::cmdOpen);
    connect(combImageNum_, &QComboBox::currentIndexChanged, this, &FrmPicture::numberChanged);
    connect(cmdSend_, &QPushButton::clicked, this, [this] {
        if (runner_) runner_(Command::Send);
    });
    if (cmdDelete_)
        connect(cmdDelete_, &QPushButton::clicked, this, [this] {
            if (runner_) runner_(Command::Delete);
        });
    connect(cmdClose_, &QPushButton::clicked, this, &QDialog::reject);
    // The system language's character set on every control.
    shell::prepareForm(this);
}

QString FrmPicture::text(const char* key) const { return qs(state_.text("frm_Image", key)); }

void FrmPicture::clearTable() {
    clearPictureRows(*state_.Conn, table_, [] { QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents); });
}

void FrmPicture::cmdOpen() {
    const QString filter = "All Files (*.*);;Image Files (*.bmp)";
    QString path;
    if (chooser()) path = chooser()(this, filter);
    else path = QFileDialog::getOpenFileName(this, text("cmdOpen"), {}, filter, nullptr);
    if (path.isEmpty()) return;  // cancel changes nothing

    cmdSend_->setEnabled(false);
    clearTable();
    preview_ = QImage();
    picPreview_->clear();
    picPreviewFit_->clear();

    LoadedPicture loaded = loadPicture(path);
    if (loaded.argb.isNull()) {
        // Not a picture: said with the file's name and the reader's reason; the send stays off.
        picture_ = QImage();
        width_ = height_ = fileWidth_ = 0;
        picture1_->clear();
        QString msg = qs(state_.text("msgbox", "picturefile"));
        msg = msg.arg(QFileInfo(path).fileName(), loaded.error);
        shell::Messages::show(msg, shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return;
    }
    picture_ = std::move(loaded.argb);
    picture1_->setPixmap(QPixmap::fromImage(picture_));
    picture1_->resize(picture_.size());
    fileWidth_ = width_ = picture_.width();
    height_ = picture_.height();
    const bool image = table_ == PictureTable::Image;
    if (image ? !fitsImage(width_, height_) : !fitsLogo(width_, height_)) {
        // Too large: the picture stays on screen, the table empty and the send off.
        shell::Messages::key(state_, "imagesize", shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        width_ = height_ = fileWidth_ = 0;
        picture_ = QImage();
        return;
    }
    layOut();
    lblSize_->setText(QStringLiteral("Pirture Pixel: ") + QString::number(width_) + " , " + QString::number(height_));
    if (image) width_ = padImageWidth(width_);
    pack();
    cmdSend_->setEnabled(true);
}

void FrmPicture::numberChanged() {
    cmdSend_->setEnabled(false);
    clearTable();
    pack();
    cmdSend_->setEnabled(true);
}

void FrmPicture::pack() {
    const uint32_t number = static_cast<uint32_t>(combImageNum_->currentIndex() + 1);
    const ArgbPixels px = pixelsOf(picture_);
    if (table_ == PictureTable::Image) writePictureRows(*state_.Conn, table_, packImage(px, width_, number));
    else writePictureRows(*state_.Conn, table_, {packLogo(px, number)});
    showPreview();
}

void FrmPicture::showPreview() {
    const auto rows = pictureRows(*state_.Conn, table_);
    preview_ = QImage();
    if (table_ == PictureTable::Image) {
        const auto d = decodeImage(rows);
        if (d) preview_ = printedImage(d->printed, fileWidth_, height_);
    } else if (rows.size() == 1) {
        const auto d = decodeLogo(rows[0]);
        if (d) preview_ = printedImage(d->printed, fileWidth_, height_);
    }
    if (preview_.isNull()) {
        picPreview_->clear();
        picPreviewFit_->clear();
        return;
    }
    picPreview_->setPixmap(QPixmap::fromImage(preview_));
    picPreview_->resize(preview_.size());
    // Shrunk, each screen pixel averages the dots it covers, so that a line one dot wide stays in
    // view (picking every fifth dot lost most of them); enlarged, the dots stay sharp squares.
    const QSize box = picPreviewFit_->size() - QSize(4, 4);
    const bool shrunk = preview_.size().scaled(box, Qt::KeepAspectRatio).width() < preview_.width();
    picPreviewFit_->setPixmap(QPixmap::fromImage(preview_).scaled(
        box, Qt::KeepAspectRatio, shrunk ? Qt::SmoothTransformation : Qt::FastTransformation));
}

void FrmPicture::layOut() {
    // The window grows round the picture, within the screen it is on.
    const int w = std::max(minimumWidth(), std::min(1200, 2 * picture_.width() + 260));
    const int h = std::max(height(), std::min(900, picture_.height() + 200));
    resize(w, h);
}

}  // namespace brindale::scalefiles
