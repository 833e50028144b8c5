#include "preset_windows.h"
#include "shell/form_scaling.h"

#include <QApplication>
#include <QComboBox>
#include <QDate>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPageLayout>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QTableView>
#include <QVBoxLayout>

#include "presetkey/key_value.h"
#include "presetkey/paint.h"
#include "shell/main_window.h"
#include "shell/messages.h"
#include "shell/paths.h"
#include "shell/program_state.h"
#include "transfer/ui/main_transfers.h"

namespace brindale::presetkey::ui {

namespace {

QString qs(const std::string& s) { return QString::fromStdString(s); }

using shell::Messages;
using shell::MsgIcon;


FrmPresetKey::PrinterSource& printerSource() {
    static FrmPresetKey::PrinterSource source = []() -> std::unique_ptr<QPrinter> {
        const QPrinterInfo info = QPrinterInfo::defaultPrinter();
        if (info.isNull()) return nullptr;
        return std::make_unique<QPrinter>(info, QPrinter::HighResolution);
    };
    return source;
}

FrmPresetKey::FileChooser& fileChooser() {
    static FrmPresetKey::FileChooser chooser = [](QWidget* parent, const QString& suggested, const QString& filter) {
        return QFileDialog::getSaveFileName(parent, QString(), suggested, filter);
    };
    return chooser;
}

QPushButton* makeButton(QWidget* parent, const char* name, const QString& caption) {
    auto* b = new QPushButton(caption, parent);
    b->setObjectName(name);
    return b;
}

QLabel* makeLabel(QWidget* parent, const char* name, const QString& caption) {
    auto* l = new QLabel(caption, parent);
    l->setObjectName(name);
    return l;
}

}  // namespace

QString layoutMessage(const shell::ProgramState& state, const LayoutError& e) {
    QString reason;
    switch (e.fault) {
        case LayoutFault::NoSection: reason = qs(state.text("msgbox", "presetBadNoSection")); break;
        case LayoutFault::NoKey: reason = qs(state.text("msgbox", "presetBadNoKey")); break;
        case LayoutFault::ShortList: reason = qs(state.text("msgbox", "presetBadShort")); break;
        case LayoutFault::NotNumber: reason = qs(state.text("msgbox", "presetBadNumber")).arg(qs(e.value)); break;
        case LayoutFault::BadSize: reason = qs(state.text("msgbox", "presetBadSize")).arg(qs(e.value)); break;
        case LayoutFault::TooManyKeys: reason = qs(state.text("msgbox", "presetBadTooMany")).arg(qs(e.value)); break;
        case LayoutFault::Beyond: reason = qs(state.text("msgbox", "presetBadBeyond")); break;
    }
    return qs(state.text("msgbox", "presetLayoutBad"))
        .arg(qs(e.file), e.key.empty() ? QStringLiteral("-") : qs(e.key), QString::number(e.layout), reason);
}

std::optional<SheetState> openSheet(shell::ProgramState& state, const std::string& scaleIP, QWidget* parent) {
    SheetState s;
    int layout = 0;
    {
        auto st = state.Conn->prepare("Select SC_PSK_Layout, ST_No, SECT_No from SCALE where SC_IP=?1");
        st->bind(1, store::Value(scaleIP));
        if (st->step()) {
            layout = static_cast<int>(st->columnInt(0));
            s.store = static_cast<int>(st->columnInt(1));
            s.section = static_cast<int>(st->columnInt(2));
        }
    }
    try {
        s.layout = loadLayout(state.path(shell::kPresetKeyFile), state.settings.LanguageName(), layout);
    } catch (const LayoutError& e) {
        Messages::show(layoutMessage(state, e), MsgIcon::Exclamation, shell::MsgButtons::Ok, parent);
        return std::nullopt;
    }
    s.ref = SheetRef{scaleIP, layout, s.layout.keyNum};
    return s;
}

// ---------------------------------------------------------------- the picture

PresetCanvas::PresetCanvas(const SheetState& sheet, QWidget* parent) : QWidget(parent), sheet_(sheet) {
    setObjectName("picPresetKey");
    setFixedSize(sizeHint());
    setCursor(Qt::PointingHandCursor);
}

QSize PresetCanvas::sizeHint() const {
    return QSize(int(std::ceil(pictureWidth(sheet_.layout) * pixelsPerCmX(*this))),
                 int(std::ceil(pictureHeight(sheet_.layout) * pixelsPerCmY(*this))));
}

void PresetCanvas::setKeys(std::vector<KeyPages> keys) {
    keys_ = std::move(keys);
    update();
}

QPoint PresetCanvas::centreOf(int key) const {
    const double s = sheet_.layout.spacing;
    return QPoint(int((cellLeft(sheet_.layout, key) + s / 2) * pixelsPerCmX(*this)),
                  int((cellTop(sheet_.layout, key) + s / 2) * pixelsPerCmY(*this)));
}

void PresetCanvas::paintEvent(QPaintEvent*) {
    QPainter p(this);
    drawPresetKeys(p, sheet_.layout, keys_, palette().color(QPalette::Shadow));
}

void PresetCanvas::mousePressEvent(QMouseEvent* e) {
    if (e->button() != Qt::LeftButton) return;
    emit clickedAt(e->position().x() / pixelsPerCmX(*this), e->position().y() / pixelsPerCmY(*this));
}

// ---------------------------------------------------------------- frmPresetKey

FrmPresetKey::FrmPresetKey(shell::MainWindow& main, SheetState sheet, QWidget* parent)
    : QDialog(parent), main_(main), state_(main.state()), sheet_(std::move(sheet)) {
    setObjectName("frmPresetKey");
    setWindowTitle(text("frmPresetKey"));
    auto* v = new QVBoxLayout(this);
    lblScale_ = makeLabel(this, "lblScale", qs(sheet_.layout.name) + ":  " + qs(sheet_.ref.scaleIP));
    v->addWidget(lblScale_);
    pic_ = new PresetCanvas(sheet_, this);
    v->addWidget(pic_, 0, Qt::AlignLeft | Qt::AlignTop);
    auto* row = new QHBoxLayout;
    struct B {
        const char* name;
        void (FrmPresetKey::*slot)();
    };
    for (B b : {B{"cmdClearAll", &FrmPresetKey::cmdClearAll}, B{"cmdAuto", &FrmPresetKey::cmdAuto},
                B{"cmdUpload", &FrmPresetKey::cmdUpload}, B{"cmdPrint", &FrmPresetKey::cmdPrint},
                B{"cmdExportPdf", &FrmPresetKey::cmdExportPdf}, B{"cmdExportPng", &FrmPresetKey::cmdExportPng},
                B{"cmdExportStore", &FrmPresetKey::cmdExportStore}}) {
        auto* button = makeButton(this, b.name, text(b.name));
        connect(button, &QPushButton::clicked, this, [this, slot = b.slot] { (this->*slot)(); });
        row->addWidget(button);
        buttons_.push_back(button);
    }
    auto* close = makeButton(this, "cmdClose", text("cmdClose"));
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    row->addWidget(close);
    buttons_.push_back(close);
    v->addLayout(row);
    connect(pic_, &PresetCanvas::clickedAt, this, &FrmPresetKey::clickAt);
    redraw();
    // The system language's character set on every control.
    shell::prepareForm(this);
}

QString FrmPresetKey::text(const char* key) const { return qs(state_.text("frm_PresetKey", key)); }

void FrmPresetKey::redraw() { pic_->setKeys(readSheet(*state_.Conn, sheet_.ref)); }

void FrmPresetKey::clickAt(double xCm, double yCm) {
    const int key = getKeyNumber(sheet_.layout, xCm, yCm);
    // The numbers beyond the sheet's keys are drawn but are no keys: their Numbers are page 2's.
    if (key < 1 || key > sheet_.layout.keyNum) return;
    CurrentKey = key;
    FrmPutPreKey put(state_, sheet_, key, this);
    put.exec();
    redraw();
}

void FrmPresetKey::cmdClearAll() {
    clearPresetKeys(*state_.Conn, sheet_.ref, [] { QApplication::processEvents(); });
    redraw();
}

void FrmPresetKey::cmdUpload() {
    auto* transfers = transfer::ui::MainTransfers::of(main_);
    if (!transfers) return;
    transfer::FlowContext ctx;
    ctx.currentScaleIP = sheet_.ref.scaleIP;
    ctx.presetLayout = sheet_.ref.layout;
    // The flow marks the sheet's rows in Number order and clears them again whatever happens.
    transfers->run(transfer::Flow::PresetKeySend, ctx);
}

bool FrmPresetKey::printOn(QPrinter& printer) {
    printer.setFullPage(true);  // the sheet's 1 cm margin counts from the paper's edge
    printer.setPageOrientation(QPageLayout::Landscape);
    QPainter p;
    if (!p.begin(&printer)) return false;
    drawPresetKeys(p, sheet_.layout, pic_->keys(), defaultShadow());
    return p.end();
}

void FrmPresetKey::cmdPrint() {
    auto printer = printerSource() ? printerSource()() : nullptr;
    if (!printer) {
        Messages::key(state_, "presetNoPrinter", MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return;
    }
    if (!printOn(*printer))
        Messages::show(qs(state_.text("msgbox", "presetPrintFailed"))
                           .arg(printer->printerName().isEmpty() ? printer->outputFileName() : printer->printerName()),
                       MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
}

void FrmPresetKey::cmdAuto() {
    FrmAutoPresetKey a(state_, sheet_, this);
    a.exec();
    redraw();
}

void FrmPresetKey::cmdExportPdf() {
    const QString file = fileChooser()(this, QStringLiteral("presetkeys.pdf"), text("pdfFilter"));
    if (file.isEmpty()) return;
    QString error;
    if (!writeSheetsPdf(file, {SheetPage{sheet_.layout, pic_->keys(), {}}}, error))
        Messages::show(qs(state_.text("msgbox", "presetExportFailed")).arg(error), MsgIcon::Exclamation,
                       shell::MsgButtons::Ok, this);
}

void FrmPresetKey::cmdExportPng() {
    const QString file = fileChooser()(this, QStringLiteral("presetkeys.png"), text("pngFilter"));
    if (file.isEmpty()) return;
    QString error;
    if (!writeSheetPng(file, sheet_.layout, pic_->keys(), error))
        Messages::show(qs(state_.text("msgbox", "presetExportFailed")).arg(error), MsgIcon::Exclamation,
                       shell::MsgButtons::Ok, this);
}

std::vector<SheetPage> FrmPresetKey::storeSheets(shell::ProgramState& state, int store) {
    std::vector<SheetPage> pages;
    std::string storeName;
    {
        auto st = state.Conn->prepare("SELECT ST_Name FROM STORE WHERE ST_No=?1");
        st->bind(1, store::Value(store));
        if (st->step()) storeName = st->column(0).toText();
    }
    auto scales = state.Conn->prepare(
        "SELECT SC_IP, SC_PSK_Layout, SECT_No FROM SCALE WHERE ST_No=?1 AND EXISTS (SELECT 1 FROM KVR_41 "
        "WHERE KVR_41.Scale_IP=SCALE.SC_IP AND KVR_41.PSK_Layout=SCALE.SC_PSK_Layout) ORDER BY SECT_No, SC_IP");
    scales->bind(1, store::Value(store));
    const QString date = QDate::currentDate().toString(Qt::ISODate);
    while (scales->step()) {
        const std::string ip = scales->column(0).toText();
        const int layoutNo = static_cast<int>(scales->columnInt(1));
        SheetPage page;
        page.layout = loadLayout(state.path(shell::kPresetKeyFile), state.settings.LanguageName(), layoutNo);
        page.keys = readSheet(*state.Conn, SheetRef{ip, layoutNo, page.layout.keyNum});
        page.footer = qs(state.text("frm_PresetKey", "storeLine"))
                          .arg(QString::number(store), qs(storeName), QString::number(scales->columnInt(2)),
                               qs(ip).simplified().remove(' '), qs(page.layout.name), date);
        pages.push_back(std::move(page));
    }
    return pages;
}

void FrmPresetKey::cmdExportStore() {
    std::vector<SheetPage> pages;
    try {
        pages = storeSheets(state_, sheet_.store);
    } catch (const LayoutError& e) {
        Messages::show(layoutMessage(state_, e), MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return;
    }
    if (pages.empty()) {
        Messages::show(qs(state_.text("msgbox", "presetNoSheets")).arg(sheet_.store), MsgIcon::Information,
                       shell::MsgButtons::Ok, this);
        return;
    }
    const QString file =
        fileChooser()(this, QStringLiteral("store%1-presetkeys.pdf").arg(sheet_.store), text("pdfFilter"));
    if (file.isEmpty()) return;
    QString error;
    if (!writeSheetsPdf(file, pages, error))
        Messages::show(qs(state_.text("msgbox", "presetExportFailed")).arg(error), MsgIcon::Exclamation,
                       shell::MsgButtons::Ok, this);
}

void FrmPresetKey::setPrinterSource(PrinterSource source) { printerSource() = std::move(source); }
void FrmPresetKey::setFileChooser(FileChooser chooser) { fileChooser() = std::move(chooser); }

// ---------------------------------------------------------------- GridBrowse

PluBrowseModel::PluBrowseModel(shell::ProgramState& state, int store, QObject* parent)
    : QAbstractTableModel(parent), state_(state), ids_(storePluIds(*state.Conn, store)), cache_(ids_.size()) {}

int PluBrowseModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ids_.size());
}

PluBrief PluBrowseModel::row(int r) const {
    if (r < 0 || static_cast<size_t>(r) >= ids_.size()) return {};
    auto& c = cache_[static_cast<size_t>(r)];
    if (!c) {
        c = readPlu(*state_.Conn, ids_[static_cast<size_t>(r)], *state_.codePage);
        ++rowsRead_;
    }
    return *c;
}

QVariant PluBrowseModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !index.isValid()) return {};
    const PluBrief b = row(index.row());
    return index.column() == 0 ? QVariant(qlonglong(b.PLU_No)) : QVariant(qs(b.name));
}

QVariant PluBrowseModel::headerData(int section, Qt::Orientation o, int role) const {
    if (role != Qt::DisplayRole) return {};
    if (o == Qt::Vertical) return section + 1;
    return qs(state_.text("frm_PutPreKey", section == 0 ? "GridBrowsePLU" : "GridBrowseCommName"));
}

// ---------------------------------------------------------------- frmPutPreKey

FrmPutPreKey::FrmPutPreKey(shell::ProgramState& state, const SheetState& sheet, int key, QWidget* parent)
    : QDialog(parent), state_(state), sheet_(sheet), key_(key) {
    setObjectName("frmPutPreKey");
    setWindowTitle(text("frmPutPreKey"));
    auto* grid = new QGridLayout(this);
    lblPresetKey_ = makeLabel(this, "lblPresetKey", {});
    grid->addWidget(lblPresetKey_, 0, 0, 1, 4);

    auto* choose = new QGroupBox(text("frameChoose"), this);
    choose->setObjectName("frameChoose");
    auto* cg = new QGridLayout(choose);
    lblPLUNo_ = makeLabel(choose, "lblPLUNo", text("lblPluNo"));
    txtPLUNo_ = new QLineEdit(choose);
    txtPLUNo_->setObjectName("txtPLUNo");
    // Six digits at most: a seventh would read back as another kind of key.
    txtPLUNo_->setValidator(new QRegularExpressionValidator(QRegularExpression("[0-9]{0,6}"), txtPLUNo_));
    lblCommodity_ = makeLabel(choose, "lblCommodity", text("lblCommodity"));
    txtCommodity_ = new QLineEdit(choose);
    txtCommodity_->setObjectName("txtCommodity");
    cg->addWidget(lblPLUNo_, 0, 0);
    cg->addWidget(txtPLUNo_, 0, 1);
    auto* browse = makeButton(choose, "cmdBrowse", text("cmdBrowse"));
    cg->addWidget(browse, 0, 2);
    cg->addWidget(lblCommodity_, 1, 0);
    cg->addWidget(txtCommodity_, 1, 1, 1, 2);

    cg->addWidget(makeLabel(choose, "lblFunctionKey", text("lblFunctionKey")), 2, 0);
    combFuncKey_ = new QComboBox(choose);
    combFuncKey_->setObjectName("CombFuncKey");
    if (const auto* t = state_.lang.find("FunctionKey"))
        for (size_t i = 0; i < t->size(); ++i) combFuncKey_->addItem(qs(t->valueAt(i)));
    cg->addWidget(combFuncKey_, 2, 1, 1, 2);

    cg->addWidget(makeLabel(choose, "lblClerkKey", text("lblClerkKey")), 3, 0);
    combClerkKey_ = new QComboBox(choose);
    combClerkKey_->setObjectName("CombClerkKey");
    for (int i = 1; i <= kClerkKeys; ++i) combClerkKey_->addItem(text("combClerk") + " " + QString::number(i));
    cg->addWidget(combClerkKey_, 3, 1, 1, 2);

    cg->addWidget(makeLabel(choose, "lblOtherKeys", text("lblOtherKeys")), 4, 0);
    combOtherKeys_ = new QComboBox(choose);
    combOtherKeys_->setObjectName("CombOtherKeys");
    if (const auto* t = state_.lang.find("OtherKeys"))
        for (size_t i = 0; i < t->size() && i < 3; ++i) combOtherKeys_->addItem(qs(t->valueAt(i)));
    cg->addWidget(combOtherKeys_, 4, 1, 1, 2);
    cg->addWidget(makeLabel(choose, "lblOtherValue", text("lblOtherValue")), 5, 0);
    meditValue_ = new QLineEdit(choose);
    meditValue_->setObjectName("meditValue");
    cg->addWidget(meditValue_, 5, 1);
    lblpersymbol_ = makeLabel(choose, "lblpersymbol", {});
    cg->addWidget(lblpersymbol_, 5, 2);
    grid->addWidget(choose, 1, 0, 1, 4);

    frameBrowse_ = new QGroupBox(text("frameBrowse"), this);
    frameBrowse_->setObjectName("frameBrowse");
    auto* bl = new QVBoxLayout(frameBrowse_);
    gridBrowse_ = new QTableView(frameBrowse_);
    gridBrowse_->setObjectName("GridBrowse");
    gridBrowse_->setSelectionBehavior(QAbstractItemView::SelectRows);
    gridBrowse_->setSelectionMode(QAbstractItemView::SingleSelection);
    gridBrowse_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    gridBrowse_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    gridBrowse_->verticalHeader()->setDefaultSectionSize(gridBrowse_->fontMetrics().height() + 6);
    gridBrowse_->horizontalHeader()->setStretchLastSection(true);
    gridBrowse_->setMinimumHeight(220);
    bl->addWidget(gridBrowse_);
    frameBrowse_->setVisible(false);
    grid->addWidget(frameBrowse_, 2, 0, 1, 4);

    auto* del = makeButton(this, "cmdDel", text("cmdDel"));
    cmdPrev_ = makeButton(this, "cmdPrev", text("cmdPrev"));
    cmdNext_ = makeButton(this, "cmdNext", text("cmdNext"));
    auto* ok = makeButton(this, "cmdOK", text("cmdOK"));
    auto* cancel = makeButton(this, "cmdCancel", text("cmdCancel"));
    auto* row = new QHBoxLayout;
    for (auto* b : {del, cmdPrev_, cmdNext_, ok, cancel}) row->addWidget(b);
    grid->addLayout(row, 3, 0, 1, 4);

    connect(browse, &QPushButton::clicked, this, &FrmPutPreKey::cmdBrowse);
    connect(del, &QPushButton::clicked, this, &FrmPutPreKey::cmdDel);
    connect(cmdPrev_, &QPushButton::clicked, this, &FrmPutPreKey::cmdPrev);
    connect(cmdNext_, &QPushButton::clicked, this, &FrmPutPreKey::cmdNext);
    connect(ok, &QPushButton::clicked, this, &FrmPutPreKey::cmdOK);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(combFuncKey_, &QComboBox::activated, this, &FrmPutPreKey::funcChosen);
    connect(combClerkKey_, &QComboBox::activated, this, &FrmPutPreKey::clerkChosen);
    connect(combOtherKeys_, &QComboBox::activated, this, [this] { otherChanged(); });
    connect(meditValue_, &QLineEdit::textEdited, this, [this] { otherChanged(); });
    connect(txtPLUNo_, &QLineEdit::textEdited, this, [this](const QString& t) {
        if (showing_) return;
        page().value = t.toInt();
        page().foreign = false;
        captions(KeyKind::Plu);
    });
    connect(txtCommodity_, &QLineEdit::textEdited, this, [this](const QString& t) {
        if (showing_) return;
        page().name = t.toStdString();
        page().foreign = false;
    });
    connect(gridBrowse_, &QTableView::clicked, this, [this](const QModelIndex& i) { browseClicked(i.row()); });

    pages_ = readKey(*state_.Conn, sheet_.ref, key_);
    PageNo = 1;
    showPage();
    // The system language's character set on every control.
    shell::prepareForm(this);
}

QString FrmPutPreKey::text(const char* key) const { return qs(state_.text("frm_PutPreKey", key)); }

void FrmPutPreKey::showKeyLabel() {
    lblPresetKey_->setText(text("lblPresetKey") + " " + QString::number(key_) + ",  " + text("lblPage") + " " +
                           QString::number(PageNo));
}

void FrmPutPreKey::captions(KeyKind kind) {
    const char* no = "lblPluNo";
    const char* name = "lblCommodity";
    if (kind == KeyKind::Function) no = "lblFunctionNo", name = "lblFKName";
    if (kind == KeyKind::Clerk) no = "lblClerkNo", name = "lblCKName";
    lblPLUNo_->setText(text(no));
    lblCommodity_->setText(text(name));
}

int FrmPutPreKey::otherDecimals(int entry) const {
    // Amount discount: the decimals of prices; percent: two; a preset quantity is whole.
    if (entry == 0) return state_.settings.PriceDecimals;
    return entry == 1 ? 2 : 0;
}

QString FrmPutPreKey::formatOther(int entry, long digits) const {
    const int d = otherDecimals(entry);
    QString s = QString::number(digits);
    if (d == 0) return s;
    while (s.size() <= d) s.prepend('0');
    return s.left(s.size() - d) + qs(state_.settings.DecimalSign()) + s.right(d);
}

void FrmPutPreKey::showPage() {
    showing_ = true;
    const Page& p = pages_[static_cast<size_t>(PageNo - 1)];
    const int32_t v = p.value;
    const KeyKind kind = kindOf(v);
    txtPLUNo_->clear();
    meditValue_->clear();
    combFuncKey_->setCurrentIndex(-1);
    combClerkKey_->setCurrentIndex(-1);
    combOtherKeys_->setCurrentIndex(-1);
    lblpersymbol_->clear();
    const int rest = v % kKindStep;
    switch (kind) {
        case KeyKind::Empty: break;
        case KeyKind::Plu: txtPLUNo_->setText(QString::number(v)); break;
        case KeyKind::Function:
            combFuncKey_->setCurrentIndex(rest - 1);
            txtPLUNo_->setText(QString::number(rest));
            break;
        case KeyKind::Clerk:
            combClerkKey_->setCurrentIndex(rest - 1);
            txtPLUNo_->setText(QString::number(rest));
            break;
        case KeyKind::Other1:
        case KeyKind::Other2:
        case KeyKind::Other3: {
            const int entry = v / kKindStep - 3;
            combOtherKeys_->setCurrentIndex(entry);
            meditValue_->setText(formatOther(entry, rest));
            txtPLUNo_->setText(meditValue_->text());
            lblpersymbol_->setText(entry == 0 ? qs(state_.settings.PriceUnitText) : QStringLiteral("%"));
            lblpersymbol_->setVisible(entry != 2);
            break;
        }
    }
    txtCommodity_->setText(qs(p.name));
    captions(kind == KeyKind::Empty ? KeyKind::Plu : kind);
    cmdPrev_->setEnabled(PageNo > 1);
    cmdNext_->setEnabled(PageNo < kPages);
    showKeyLabel();
    showing_ = false;
}

void FrmPutPreKey::cmdNext() {
    if (PageNo >= kPages) return;
    ++PageNo;  // the fields write into the page as they change, so nothing is left to store
    showPage();
}

void FrmPutPreKey::cmdPrev() {
    if (PageNo <= 1) return;
    --PageNo;
    showPage();
}

void FrmPutPreKey::funcChosen(int p) {
    if (showing_ || p < 0) return;
    page() = Page{kKindStep + p + 1, combFuncKey_->itemText(p).toStdString(), false};
    showPage();
}

void FrmPutPreKey::clerkChosen(int p) {
    if (showing_ || p < 0) return;
    page() = Page{2 * kKindStep + p + 1, combClerkKey_->itemText(p).toStdString(), false};
    showPage();
}

void FrmPutPreKey::otherChanged() {
    if (showing_) return;
    const int entry = combOtherKeys_->currentIndex();
    if (entry < 0) return;
    QString digits = meditValue_->text();
    digits.remove(QRegularExpression("[^0-9]"));
    // Below a million: the kind lives in the millions.
    if (digits.size() > 6) digits.truncate(6);
    const long value = digits.toLong();
    const int fromEnd = int(meditValue_->text().size()) - meditValue_->cursorPosition();
    page().value = (3 + entry) * kKindStep + static_cast<int32_t>(value);
    page().foreign = false;
    if (page().name.empty()) page().name = combOtherKeys_->itemText(entry).toStdString();
    showPage();
    // The digits are formatted again; the cursor keeps its place counted from the end.
    meditValue_->setCursorPosition(std::max(0, int(meditValue_->text().size()) - fromEnd));
    meditValue_->setFocus();
}

void FrmPutPreKey::cmdBrowse() {
    if (!model_) {
        frameBrowse_->setTitle(text("loading"));
        frameBrowse_->setVisible(true);
        QApplication::processEvents();
        model_ = new PluBrowseModel(state_, sheet_.store, this);
        gridBrowse_->setModel(model_);
        frameBrowse_->setTitle(text("frameBrowse"));
    }
    frameBrowse_->setVisible(true);
}

void FrmPutPreKey::browseClicked(int row) {
    if (!model_) return;
    const PluBrief b = model_->row(row);
    if (b.PLU_No <= 0 || b.PLU_No >= kKindStep) return;
    page() = Page{static_cast<int32_t>(b.PLU_No), b.name, false};
    showPage();
}

void FrmPutPreKey::cmdDel() {
    page() = Page{};
    showPage();
}

void FrmPutPreKey::cmdOK() {
    try {
        saveKey(*state_.Conn, sheet_.ref, key_, pages_);
    } catch (const std::invalid_argument& e) {
        Messages::show(qs(state_.text("msgbox", "presetKeyBad")).arg(QString::fromUtf8(e.what())),
                       MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return;
    }
    accept();
}

// ---------------------------------------------------------------- frmAutoPresetKey

FrmAutoPresetKey::FrmAutoPresetKey(shell::ProgramState& state, const SheetState& sheet, QWidget* parent)
    : QDialog(parent), state_(state), sheet_(sheet) {
    setObjectName("frmAutoPresetKey");
    setWindowTitle(text("frmAutoPresetKey"));
    auto* v = new QVBoxLayout(this);
    std::string storeName;
    {
        auto st = state_.Conn->prepare("SELECT ST_Name FROM STORE WHERE ST_No=?1");
        st->bind(1, store::Value(sheet_.store));
        if (st->step()) storeName = st->column(0).toText();
    }
    v->addWidget(makeLabel(this, "lStore", text("lStore") + " " + QString::number(sheet_.store) + "  " + qs(storeName)));
    auto* frame = new QGroupBox(text("Frame1"), this);
    frame->setObjectName("Frame1");
    auto* g = new QGridLayout(frame);
    opST_ = new QRadioButton(text("opST"), frame);
    opST_->setObjectName("opST");
    opDP_ = new QRadioButton(text("opDP"), frame);
    opDP_->setObjectName("opDP");
    opMG_ = new QRadioButton(text("opMG"), frame);
    opMG_->setObjectName("opMG");
    combDept_ = new QComboBox(frame);
    combDept_->setObjectName("combDept");
    combMG_ = new QComboBox(frame);
    combMG_->setObjectName("combMG");
    g->addWidget(opST_, 0, 0);
    g->addWidget(opDP_, 1, 0);
    g->addWidget(combDept_, 1, 1);
    g->addWidget(opMG_, 2, 0);
    g->addWidget(combMG_, 2, 1);
    v->addWidget(frame);
    auto* row = new QHBoxLayout;
    auto* ok = makeButton(this, "cmdOK", text("cmdOK"));
    auto* cancel = makeButton(this, "cmdCancel", text("cmdCancel"));
    row->addStretch();
    row->addWidget(ok);
    row->addWidget(cancel);
    v->addLayout(row);

    // Departments of the scale's own store: another store's would give no PLUs.
    auto st = state_.Conn->prepare("Select DP_No, DP_Name from KVR_20 WHERE ST_No=?1 ORDER BY DP_No");
    st->bind(1, store::Value(sheet_.store));
    while (st->step())
        combDept_->addItem(QString::number(st->columnInt(0)) + "  " + qs(st->column(1).toText()),
                           qlonglong(st->columnInt(0)));
    opST_->setChecked(true);
    fillGroups();
    connect(combDept_, &QComboBox::currentIndexChanged, this, [this] { fillGroups(); });
    connect(ok, &QPushButton::clicked, this, &FrmAutoPresetKey::cmdOK);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    // The system language's character set on every control.
    shell::prepareForm(this);
}

QString FrmAutoPresetKey::text(const char* key) const { return qs(state_.text("frm_AutoPresetKey", key)); }

void FrmAutoPresetKey::fillGroups() {
    combMG_->clear();
    const QVariant dept = combDept_->currentData();
    auto st = dept.isValid()
                  ? state_.Conn->prepare("SELECT MG_No, MG_Name FROM KVR_23 WHERE ST_No=?1 AND DP_No=?2 ORDER BY MG_No")
                  : state_.Conn->prepare("SELECT MG_No, MG_Name FROM KVR_23 WHERE ST_No=?1 ORDER BY MG_No");
    st->bind(1, store::Value(sheet_.store));
    if (dept.isValid()) st->bind(2, store::Value(int64_t(dept.toLongLong())));
    while (st->step())
        combMG_->addItem(QString::number(st->columnInt(0)) + "  " + qs(st->column(1).toText()),
                         qlonglong(st->columnInt(0)));
}

void FrmAutoPresetKey::cmdOK() {
    FillScope scope = FillScope::Store;
    int64_t number = 0;
    if (opDP_->isChecked()) {
        if (!combDept_->currentData().isValid()) return;
        scope = FillScope::Department;
        number = combDept_->currentData().toLongLong();
    } else if (opMG_->isChecked()) {
        if (!combMG_->currentData().isValid()) return;
        scope = FillScope::MainGroup;
        number = combMG_->currentData().toLongLong();
    }
    auto r = autoFill(*state_.Conn, sheet_.ref, sheet_.store, scope, number, *state_.codePage);
    if (r.refused) {
        Messages::show(qs(state_.text("msgbox", "presetDeptNoGroups")).arg(number), MsgIcon::Exclamation,
                       shell::MsgButtons::Ok, this);
        return;
    }
    accept();
}

// ---------------------------------------------------------------- menuEditPresetKey

void openPresetKeys(shell::MainWindow& main) {
    auto& state = main.state();
    if (!state.Conn) return;
    auto sheet = openSheet(state, state.currentScaleIP, &main);
    if (!sheet) return;
    FrmPresetKey w(main, std::move(*sheet), &main);
    w.exec();
}

}  // namespace brindale::presetkey::ui
