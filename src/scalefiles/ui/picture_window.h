#pragma once
// frmImage and frmLogo: a picture file into the scratch table of image blocks (KVR_37) or of the
// logo (KVR_36), shown as opened in Picture1 and, beside it, as the scale will print it (drawn
// from the records by their decoder), then sent through the program's transfer flows.
#include <QDialog>
#include <QImage>
#include <functional>

#include "scalefiles/picture_rows.h"
#include "scalefiles/pictures.h"

class QComboBox;
class QLabel;
class QPushButton;
class QScrollArea;

namespace brindale::shell {
struct ProgramState;
}

namespace brindale::scalefiles {

// A picture file read by Qt's image readers into one ARGB32 copy; `error` is the reader's reason
// when the file is no picture it can read.
struct LoadedPicture {
    QImage argb;
    QString error;
};
LoadedPicture loadPicture(const QString& path);
ArgbPixels pixelsOf(const QImage& argb);

// The printed form of records as an image: black where a bit is 1, white elsewhere, with a red
// outline round the picture's own frame (width x height of the file; none when 0).
QImage printedImage(const MonoBitmap& printed, int width, int height);

class FrmPicture : public QDialog {
    Q_OBJECT
public:
    // What the send and delete buttons ask of the program: the transfer flows.
    enum class Command { Send, Delete };
    using Runner = std::function<void(Command)>;
    // The file dialog; tests answer it. Returns the chosen path, empty for cancel.
    using FileChooser = std::function<QString(QWidget* parent, const QString& filter)>;

    FrmPicture(shell::ProgramState& state, PictureTable table, Runner runner, QWidget* parent = nullptr);

    static void setFileChooser(FileChooser chooser);

    // The commands, as the buttons run them.
    void cmdOpen();
    void numberChanged();

    int pictureWidth() const { return width_; }    // after padding, for an image
    int pictureHeight() const { return height_; }
    // The printed form last drawn from the table; null when the table holds nothing readable.
    const QImage& preview() const { return preview_; }

private:
    QString text(const char* key) const;
    void clearTable();
    void pack();
    void showPreview();
    void layOut();

    shell::ProgramState& state_;
    PictureTable table_;
    Runner runner_;
    QImage picture_;     // the ARGB32 copy of the file on screen; null when none
    int width_ = 0;      // as packed (an image's width padded)
    int height_ = 0;
    int fileWidth_ = 0;  // as the file has it
    QImage preview_;

    QComboBox* combImageNum_;
    QLabel *lblImageNum_, *lblSize_, *lblWarning_, *lblPreview_;
    QLabel* picture1_;
    QLabel* picPreview_;     // 1:1
    QLabel* picPreviewFit_;  // fitted
    QScrollArea* pictureArea_;
    QScrollArea* previewArea_;
    QPushButton *cmdOpen_, *cmdSend_, *cmdDelete_ = nullptr, *cmdClose_;
};

}  // namespace brindale::scalefiles
