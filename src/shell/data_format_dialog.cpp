#include "data_format_dialog.h"

#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "codec/code_page.h"
#include "form_scaling.h"
#include "main_window.h"
#include "messages.h"
#include "paths.h"
#include "store/fatal_error.h"

namespace brindale::shell {

namespace {
QString qs(const std::string& s) { return QString::fromStdString(s); }
}  // namespace

bool priceUnitCharacterAllowed(const QString& character, const std::string& pageName) {
    if (character.isEmpty()) return false;
    const codec::CodePage page(pageName);
    std::vector<uint8_t> bytes;
    page.encode(character.toStdString(), bytes);
    if (bytes.empty()) return false;
    // A character the page lacks comes back as '?': it has no code there.
    if (bytes.size() == 1 && bytes[0] == '?' && character != "?") return false;
    unsigned code = 0;
    for (uint8_t b : bytes) code = code << 8 | b;
    return code >= 32 && code <= 255;
}

FrmScale::FrmScale(ProgramState& state, QWidget* parent)
    : QDialog(parent), state_(state), pageName_(state.systemCodePageName()) {
    setObjectName("frmScale");
    auto* outer = new QVBoxLayout(this);
    form_ = new QFormLayout;
    outer->addLayout(form_);
    combPPoint = addCombo("combPPoint", "lblPPoint", "setPPoint");
    combPPointType = addCombo("combPPointType", "lblPPointType", "setPPointType");
    combWPoint = addCombo("combWPoint", "lblWPoint", "setWPoint");
    combScaleType = addCombo("combScaleType", "lblScaleType", "setScale");
    combDateType = addCombo("combDateType", "lblDateType", "setDate");
    combPriceUnit = addCombo("combPriceUnit", "lblPriceUnit", "setPUnit");
    combPriceUnit->setEditable(true);
    combPriceUnit->setInsertPolicy(QComboBox::NoInsert);
    combPriceUnit->lineEdit()->installEventFilter(this);
    combSYS_Country = addCombo("combSYS_Country", "lblSYS_Country", "setSYS_Country");
    combSYS_Store = addCombo("combSYS_Store", "lblSYS_Store", "setSYS_Store");
    lblSYS_StoreName = new QLabel(this);
    lblSYS_StoreName->setObjectName("lblSYS_StoreName");
    txtSYS_StoreName = new QLineEdit(this);
    txtSYS_StoreName->setObjectName("txtSYS_StoreName");
    txtSYS_StoreName->installEventFilter(this);
    form_->addRow(lblSYS_StoreName, txtSYS_StoreName);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    cmdOK_ = new QPushButton(this);
    cmdOK_->setObjectName("cmdOK");
    cmdOK_->setDefault(true);
    cmdCancel_ = new QPushButton(this);
    cmdCancel_->setObjectName("cmdCancel");
    buttons->addWidget(cmdOK_);
    buttons->addWidget(cmdCancel_);
    outer->addLayout(buttons);
    connect(cmdOK_, &QPushButton::clicked, this, [this] { cmdOK(); });
    connect(cmdCancel_, &QPushButton::clicked, this, &QDialog::reject);
    connect(combSYS_Store, &QComboBox::currentIndexChanged, this, [this](int i) { storeModeChanged(i); });
    load();
}

QComboBox* FrmScale::addCombo(const char* name, const char* labelName, const char* key) {
    auto* label = new QLabel(qs(state_.text("frm_OTHER", key)), this);
    label->setObjectName(labelName);
    auto* c = new QComboBox(this);
    c->setObjectName(name);
    form_->addRow(label, c);
    return c;
}

void FrmScale::load() {
    // 1. The captions.
    const auto& t = state_.lang.section("frm_OTHER");
    setWindowTitle(qs(t.text("setTitle")));
    lblSYS_StoreName->setText(qs(t.text("setSYS_StoreName")));
    cmdOK_->setText(qs(t.text("setOK")));
    cmdCancel_->setText(qs(t.text("setCancel")));
    // 2 to 7. The rows and the choices of the run.
    const DataFormatView v = dataFormatView(state_.lang, state_.settings);
    auto fill = [](QComboBox* c, const ComboRows& r) {
        c->clear();
        for (const auto& row : r.rows) c->addItem(qs(row));
        c->setCurrentIndex(r.index);
    };
    fill(combPPoint, v.PPoint);
    fill(combPPointType, v.PPointType);
    fill(combWPoint, v.WPoint);
    fill(combScaleType, v.ScaleType);
    fill(combDateType, v.DateType);
    fill(combPriceUnit, v.PriceUnit);
    fill(combSYS_Country, v.Country);
    fill(combSYS_Store, v.Store);
    txtSYS_StoreName->setText(qs(v.StoreName));
    storeModeChanged(combSYS_Store->currentIndex());
    prepareForm(this);
}

void FrmScale::storeModeChanged(int index) {
    // A single store has no chain name to give.
    const bool on = index != 0;
    lblSYS_StoreName->setEnabled(on);
    txtSYS_StoreName->setEnabled(on);
}

bool FrmScale::eventFilter(QObject* watched, QEvent* e) {
    if (watched == combPriceUnit->lineEdit() && e->type() == QEvent::KeyPress) {
        auto* k = static_cast<QKeyEvent*>(e);
        // Keys that type nothing (Delete, the arrows) edit and move as ever; a typed character
        // must have a code from 32 to 255 in the system's page, which drops Backspace and Enter.
        if (!k->text().isEmpty() && !(k->modifiers() & (Qt::ControlModifier | Qt::AltModifier))) {
            for (const QChar ch : k->text())
                if (!priceUnitCharacterAllowed(QString(ch), pageName_)) return true;
        }
    }
    if (watched == txtSYS_StoreName && e->type() == QEvent::FocusIn)
        QTimer::singleShot(0, txtSYS_StoreName, [e = txtSYS_StoreName] { e->selectAll(); });
    return QDialog::eventFilter(watched, e);
}

void FrmScale::cmdOK() {
    DataFormatChoice c;
    c.PPoint = combPPoint->currentIndex();
    c.PPointType = combPPointType->currentIndex();
    c.WPoint = combWPoint->currentIndex();
    c.ScaleType = combScaleType->currentIndex();
    c.DateType = combDateType->currentIndex();
    c.PriceUnitText = combPriceUnit->currentText().toStdString();
    c.Country = combSYS_Country->currentIndex();
    c.Store = combSYS_Store->currentIndex();
    c.StoreName = txtSYS_StoreName->text().toStdString();
    const DataFormatResult r = dataFormatResult(state_.settings, c);
    if (!r.missing.empty()) {
        Messages::show(qs(state_.text("msgbox", "dataFormatNoRow")).arg(qs(state_.text("frm_OTHER", r.missing.c_str()))),
                       MsgIcon::Exclamation, MsgButtons::Ok, this);
        return;
    }
    try {
        writeSettings(state_.path(kSettingsFile), r.written);
    } catch (const FatalError& e) {
        // The file is as it was, and so are the variables: the operator may free the disk and try
        // again.
        Messages::show(qs(state_.text("msgbox", "dataFormatNotSaved")).arg(qs(e.what())), MsgIcon::Exclamation,
                       MsgButtons::Ok, this);
        return;
    }
    written_ = r.written;
    state_.writtenSettings = r.written;
    takeIntoRun(state_.settings, r.written);
    accept();
}

void openDataFormat(MainWindow& main) {
    ProgramState& state = main.state();
    if (main.askSavePLU() == 3) return;
    {
        FrmScale f(state, &main);
        if (f.exec() != QDialog::Accepted) return;
    }
    if (Messages::key(state, "DataFormatSet", MsgIcon::Exclamation, MsgButtons::YesNo, &main) == MsgResult::No) return;
    // The new format applies at the next start: the run ends as closing the window ends it.
    main.close();
}

}  // namespace brindale::shell
