#include "screens.h"
#include "form_scaling.h"

#include <QApplication>
#include <QLabel>
#include <QProgressBar>
#include <QScreen>
#include <QVBoxLayout>

namespace brindale::shell {

StatusScreen::StatusScreen(const QString& objectName, const QString& labelName, QWidget* parent)
    : QWidget(parent, Qt::Dialog | Qt::FramelessWindowHint) {
    setObjectName(objectName);
    setWindowTitle("Brindale");
    auto* frame = new QVBoxLayout(this);
    frame->setContentsMargins(24, 20, 24, 20);
    auto* title = new QLabel("Brindale", this);
    title->setObjectName("lblTitle");
    QFont f = title->font();
    f.setPointSizeF(f.pointSizeF() * 1.6);
    f.setBold(true);
    title->setFont(f);
    label_ = new QLabel(this);
    label_->setObjectName(labelName);
    label_->setMinimumWidth(320);
    bar_ = new QProgressBar(this);
    bar_->setObjectName("progressBar");
    bar_->setTextVisible(true);
    bar_->setVisible(false);
    frame->addWidget(title);
    frame->addWidget(label_);
    frame->addWidget(bar_);
    setStyleSheet("QWidget#" + objectName + " { border: 1px solid palette(mid); }");
    resize(420, 130);
    sincePaint_.start();
    // The system language's character set on every control.
    prepareForm(this);
}

void StatusScreen::centre() {
    if (QScreen* s = QApplication::primaryScreen()) {
        QRect g = s->availableGeometry();
        move(g.left() + (g.width() - width()) / 2, g.top() + (g.height() - height()) / 2);
    }
}

void StatusScreen::setLabel(const std::string& text) {
    label_->setText(QString::fromStdString(text));
    sincePaint_.invalidate();
    repaint();
}

void StatusScreen::repaint() {
    // Painting after every row would cost more than the row; a few times a second is enough.
    if (sincePaint_.isValid() && sincePaint_.elapsed() < 40) return;
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    sincePaint_.restart();
}

void StatusScreen::progress(long done, long total) {
    if (total <= 0) {
        bar_->setVisible(false);
        shownPermille_ = -1;
        return;
    }
    // The bar moves in steps of a thousandth: setting it is costly (Qt measures its text), and
    // this is called for every row.
    const long permille = static_cast<long>(std::min(done, total) * 1000 / total);
    if (permille == shownPermille_) return;
    shownPermille_ = permille;
    if (!bar_->isVisible()) bar_->setVisible(true);
    if (bar_->maximum() != 1000) bar_->setRange(0, 1000);
    bar_->setValue(static_cast<int>(permille));
    repaint();
}

}  // namespace brindale::shell
