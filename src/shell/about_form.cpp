#include "about_form.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include "main_window.h"
#include "form_scaling.h"
#include "program_state.h"

#ifndef BRINDALE_BUILD_VERSION
#define BRINDALE_BUILD_VERSION "unknown"
#endif
#ifndef BRINDALE_BUILD_COMMIT
#define BRINDALE_BUILD_COMMIT "unknown"
#endif

namespace brindale::shell {

QIcon programIcon() {
    QIcon icon;
    for (int size : {32, 64, 256}) icon.addFile(QString(":/icons/brindale-%1.png").arg(size), QSize(size, size));
    return icon;
}

const char* buildVersion() { return BRINDALE_BUILD_VERSION; }
const char* buildCommit() { return BRINDALE_BUILD_COMMIT; }

FrmAbout::FrmAbout(ProgramState& state, QWidget* parent) : QDialog(parent) {
    setObjectName("frmAbout");
    setWindowTitle(QString::fromStdString(plainCaption(state.text("frmMain_Menu", "menuSoftwareVersion"))));
    auto* box = new QVBoxLayout(this);
    auto label = [this, box](const char* name, const QString& text) {
        auto* l = new QLabel(text, this);
        l->setObjectName(name);
        l->setWordWrap(true);
        box->addWidget(l);
        return l;
    };
    auto t = [&state](const char* key) { return QString::fromStdString(state.text("frm_About", key)); };
    QFont big = font();
    big.setPointSizeF(big.pointSizeF() * 1.6);
    big.setBold(true);
    auto* top = new QHBoxLayout;
    auto* icon = new QLabel(this);
    icon->setObjectName("imgIcon");
    icon->setPixmap(programIcon().pixmap(64, 64));
    top->addWidget(icon);
    auto* title = new QLabel(t("lblTitle"), this);
    title->setObjectName("lblTitle");
    title->setFont(big);
    top->addWidget(title, 1);
    box->addLayout(top);
    label("lblFunction", t("lblFunction"));
    label("lblDescription", t("lblDescription"));
    label("lblVersion", t("lblVersion") + " " + kProgramVersion);
    label("lblBuild", t("lblBuild").arg(buildVersion(), buildCommit()))
        ->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* ok = new QPushButton(t("cmdOK"), this);
    ok->setObjectName("cmdOK");
    ok->setDefault(true);
    box->addWidget(ok, 0, Qt::AlignRight);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    prepareForm(this);
    setMinimumWidth(420);
    adjustSize();
    if (auto* s = parent ? parent->screen() : screen()) move(s->availableGeometry().center() - rect().center());
}

}  // namespace brindale::shell
