#include "labelformat/ui/label_format.h"
#include "shell/form_scaling.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <algorithm>

#include "labelformat/item_string.h"
#include "labelformat/record_reader.h"
#include "labelformat/ui/label_preview.h"
#include "shell/messages.h"
#include "shell/program_state.h"
#include "store/recordset.h"

namespace brindale::labelformat::ui {

using shell::Messages;
using shell::MsgButtons;
using shell::MsgIcon;
using shell::MsgResult;

namespace {

constexpr int kUnitsPerMm = 80;
constexpr int kViewportUnits = 8880;  // the fixed window onto a label higher than 110 mm

QString qs(const std::string& s) { return QString::fromStdString(s); }

int rnd(double v) { return static_cast<int>(roundEven(v)); }

}  // namespace

// ---------------------------------------------------------------- ItemBox

ItemBox::ItemBox(FrmLabelFormat& form, int slot, QWidget* parent) : QWidget(parent), form_(form), slot_(slot) {
    setObjectName(QString("picItem_%1").arg(slot));
    setMouseTracking(true);
    hide();
}

QPoint ItemBox::toUnits(const QPointF& p) const {
    return QPoint(rnd(p.x() / form_.zoom()), rnd(p.y() / form_.zoom()));
}

void ItemBox::paintEvent(QPaintEvent*) {
    QPainter p(this);
    const bool current = form_.CurItem() == slot_;
    p.fillRect(rect(), current ? QColor(255, 236, 179) : QColor(224, 236, 255));
    p.setPen(current ? QColor(200, 80, 0) : QColor(60, 90, 160));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
}

void ItemBox::mouseMoveEvent(QMouseEvent* e) { form_.boxMove(*this, toUnits(e->position()), e->buttons() & Qt::LeftButton); }
void ItemBox::mousePressEvent(QMouseEvent* e) {
    if (e->button() == Qt::LeftButton) form_.boxPress(*this, toUnits(e->position()));
}
void ItemBox::mouseReleaseEvent(QMouseEvent* e) {
    if (e->button() == Qt::LeftButton) form_.boxRelease(*this);
}

// ---------------------------------------------------------------- the window

FrmLabelFormat::FrmLabelFormat(shell::ProgramState& state, FlowRunner runFlow, QWidget* parent)
    : QDialog(parent), state_(state), runFlow_(std::move(runFlow)) {
    setObjectName("frmLabelFormat");
    {
        store::Recordset rs(*state_.Conn, "KVR_34");
        std::vector<store::ColumnDef> cols;
        for (int i = 0; i < rs.fieldCount(); ++i) cols.push_back(rs.field(i));
        layout_ = RecordLayout::fromColumns(cols);
    }
    build();
    // Opening: the lists at their first entries, format 1.
    quiet_ = true;
    comboFreeFormatNo_->setCurrentIndex(0);
    comboFreeFormatNoC_->setCurrentIndex(0);
    comboLabelType_->setCurrentIndex(0);
    quiet_ = false;
    reportDecodeProblems(decodeFormat(*state_.Conn));
    OpenData(*state_.Conn, 1, st_);
    txtLabelWidth_->setText(qs(st_.LabelWidth));
    txtLabelHeight_->setText(qs(st_.LabelHeight));
    setLabelGeometry();
    labelTypeChanged();
    lastFormatIndex_ = 0;
    saveState_ = "1";
    // The system language's character set on every control.
    shell::prepareForm(this);
}

QString FrmLabelFormat::text(const char* key) const { return qs(state_.text("frm_LabelFormat", key)); }

QString FrmLabelFormat::param(const char* section, size_t i) const {
    const auto* t = state_.lang.find(section);
    if (!t || i >= t->size()) return {};
    return qs(t->valueAt(i));
}

void FrmLabelFormat::build() {
    setWindowTitle(text("labFreeFormatNo"));
    auto label = [&](const char* name) {
        auto* l = new QLabel(text(name), this);
        l->setObjectName(name);
        return l;
    };
    auto button = [&](const char* name) {
        auto* b = new QPushButton(text(name), this);
        b->setObjectName(name);
        return b;
    };
    auto digits = [&](const char* name) {
        auto* e = new QLineEdit(this);
        e->setObjectName(name);
        e->setValidator(new QRegularExpressionValidator(QRegularExpression("[0-9]*"), e));
        e->setMaximumWidth(70);
        return e;
    };
    comboFreeFormatNo_ = new QComboBox(this);
    comboFreeFormatNo_->setObjectName("comboFreeFormatNo");
    comboFreeFormatNoC_ = new QComboBox(this);
    comboFreeFormatNoC_->setObjectName("comboFreeFormatNoC");
    for (int i = 1; i <= 99; ++i) {
        comboFreeFormatNo_->addItem(QString::number(i));
        comboFreeFormatNoC_->addItem(QString::number(i));
    }
    comboLabelType_ = new QComboBox(this);
    comboLabelType_->setObjectName("comboLabelType");
    comboLabelType_->addItems({text("labItem"), text("labTotal")});
    chkGap_ = new QCheckBox(text("chkGap"), this);
    chkGap_->setObjectName("chkGap");
    txtLabelWidth_ = digits("txtLabelWidth");
    txtLabelHeight_ = digits("txtLabelHeight");
    listItem_ = new QListWidget(this);
    listItem_->setObjectName("listItem");
    SelectItem_ = new QListWidget(this);
    SelectItem_->setObjectName("SelectItem");
    txtItemPosX_ = digits("txtItemPosX");
    txtItemPosY_ = digits("txtItemPosY");
    txtItemWidth_ = digits("txtItemWidth");
    txtItemHeight_ = digits("txtItemHeight");
    txtThickOrImageNo_ = digits("txtThickOrImageNo");
    comboItemAngle_ = new QComboBox(this);
    comboItemAngle_->setObjectName("comboItemAngle");
    comboItemAngle_->addItems({"0", "90", "180", "270"});
    comboItemFont_ = new QComboBox(this);
    comboItemFont_->setObjectName("comboItemFont");
    for (size_t i = 0; i < kFontCount; ++i) comboItemFont_->addItem(param("FontSize", i));
    comboItemStatus_ = new QComboBox(this);
    comboItemStatus_->setObjectName("comboItemStatus");
    for (size_t i = 0; i < 8; ++i) comboItemStatus_->addItem(QString("   %1").arg(i) + param("ItemStauts", i));
    labThickOrImageNo_ = label("labThickOrImageNo");
    labThickUnit_ = new QLabel(text("labdot"), this);
    labThickUnit_->setObjectName("labThickUnit");

    picLabelbox_ = new QWidget(this);
    picLabelbox_->setObjectName("picLabelbox");
    picLabelbox_->setAutoFillBackground(true);
    QPalette pal = picLabelbox_->palette();
    pal.setColor(QPalette::Window, QColor(128, 128, 128));
    picLabelbox_->setPalette(pal);
    picLabel_ = new QWidget(picLabelbox_);
    picLabel_->setObjectName("picLabel");
    picLabel_->setAutoFillBackground(true);
    pal.setColor(QPalette::Window, Qt::white);
    picLabel_->setPalette(pal);
    picGap_ = new QWidget(picLabelbox_);
    picGap_->setObjectName("picGap");
    picGap_->setAutoFillBackground(true);
    pal.setColor(QPalette::Window, QColor(255, 250, 205));
    picGap_->setPalette(pal);
    picGap_->hide();
    comboZoom_ = new QComboBox(this);
    comboZoom_->setObjectName("comboZoom");
    for (int z : kZoomPercents) comboZoom_->addItem(QString("%1 %").arg(z));
    comboZoom_->addItem(text("labRealSize"));
    comboZoom_->setCurrentIndex(2);
    VScrollDisplayLabel_ = new QScrollBar(Qt::Vertical, this);
    VScrollDisplayLabel_->setObjectName("VScrollDisplayLabel");
    // The label at a zoom larger than the window is seen through this area, which opens at its
    // top-left corner; the scroll bar of a tall label stays beside the label inside it.
    auto* canvasWidget = new QWidget;
    canvasWidget->setObjectName("picCanvas");
    auto* canvasLayout = new QHBoxLayout(canvasWidget);
    canvasLayout->setContentsMargins(0, 0, 0, 0);
    canvasLayout->setSpacing(2);
    canvasLayout->addWidget(picLabelbox_, 0, Qt::AlignTop);
    canvasLayout->addWidget(VScrollDisplayLabel_, 0, Qt::AlignTop);
    canvasLayout->addStretch(1);
    scrollLabel_ = new QScrollArea(this);
    scrollLabel_->setObjectName("scrollLabel");
    scrollLabel_->setWidget(canvasWidget);
    scrollLabel_->setWidgetResizable(true);
    scrollLabel_->viewport()->installEventFilter(this);
    for (int i = 0; i < kSlotCount; ++i) {
        auto* box = new ItemBox(*this, i, picLabel_);
        picItem_[static_cast<size_t>(i)] = box;
        auto* t = new QLabel(box);
        t->setObjectName(QString("txtItem_%1").arg(i));
        t->setText(QString("%1").arg(i < kItemSlots ? i + 1 : i - 89, 2, 10, QChar('0')));
        t->setAlignment(Qt::AlignCenter);
        t->setAttribute(Qt::WA_TransparentForMouseEvents);
        txtItem_[static_cast<size_t>(i)] = t;
    }

    // Layout: settings and item fields on the left, the lists in the middle, the label right.
    auto* left = new QGridLayout;
    int r = 0;
    left->addWidget(label("labFreeFormatNo"), r, 0);
    left->addWidget(comboFreeFormatNo_, r++, 1);
    left->addWidget(label("labLabelType"), r, 0);
    left->addWidget(comboLabelType_, r++, 1);
    left->addWidget(chkGap_, r++, 0, 1, 3);
    left->addWidget(label("labWidth"), r, 0);
    left->addWidget(txtLabelWidth_, r, 1);
    left->addWidget(label("labMM"), r++, 2);
    left->addWidget(label("labHeight"), r, 0);
    left->addWidget(txtLabelHeight_, r, 1);
    left->addWidget(new QLabel(text("labMM"), this), r++, 2);
    left->addWidget(label("labItemPosX"), r, 0);
    left->addWidget(txtItemPosX_, r++, 1);
    left->addWidget(label("labItemPosY"), r, 0);
    left->addWidget(txtItemPosY_, r++, 1);
    left->addWidget(label("labItemWidth"), r, 0);
    left->addWidget(txtItemWidth_, r++, 1);
    left->addWidget(label("labItemHeight"), r, 0);
    left->addWidget(txtItemHeight_, r++, 1);
    left->addWidget(label("labItemAngle"), r, 0);
    left->addWidget(comboItemAngle_, r++, 1);
    left->addWidget(label("labItemFont"), r, 0);
    left->addWidget(comboItemFont_, r++, 1, 1, 2);
    left->addWidget(label("labItemStatus"), r, 0);
    left->addWidget(comboItemStatus_, r++, 1, 1, 2);
    left->addWidget(labThickOrImageNo_, r, 0);
    left->addWidget(txtThickOrImageNo_, r, 1);
    left->addWidget(labThickUnit_, r++, 2);
    left->setRowStretch(r, 1);
    auto* lists = new QVBoxLayout;
    lists->addWidget(listItem_, 3);
    lists->addWidget(label("labSelectItem"));
    lists->addWidget(SelectItem_, 2);
    auto* zoomRow = new QHBoxLayout;
    zoomRow->addWidget(label("labZoom"));
    zoomRow->addWidget(comboZoom_);
    zoomRow->addStretch(1);
    auto* canvas = new QVBoxLayout;
    canvas->addLayout(zoomRow);
    canvas->addWidget(scrollLabel_, 1);
    auto* top = new QHBoxLayout;
    top->addLayout(left);
    top->addLayout(lists);
    top->addLayout(canvas, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(label("labFreeFormatNo"));
    buttons->addWidget(comboFreeFormatNoC_);
    QPushButton* copy = button("cmdCopy");
    buttons->addWidget(copy);
    buttons->addStretch(1);
    QPushButton *save = button("cmdSave"), *del = button("cmdDelete"), *down = button("cmdDownload"),
                *up = button("cmdUpload"), *close = button("cmdClose"), *preview = button("cmdPreview");
    for (QPushButton* b : {preview, save, del, down, up, close}) buttons->addWidget(b);
    auto* all = new QVBoxLayout(this);
    all->addLayout(top, 1);
    all->addLayout(buttons);

    connect(comboFreeFormatNo_, &QComboBox::currentIndexChanged, this, [this](int i) { formatChanged(i); });
    connect(comboLabelType_, &QComboBox::currentIndexChanged, this, [this](int) {
        if (!quiet_) labelTypeChanged();
    });
    connect(chkGap_, &QCheckBox::toggled, this, [this](bool on) {
        setLabelGeometry();
        if (preview_) preview_->setGap(on);
    });
    connect(listItem_, &QListWidget::itemChanged, this, [this](QListWidgetItem* it) {
        if (!quiet_) listItemChecked(it);
    });
    connect(SelectItem_, &QListWidget::currentRowChanged, this, [this](int row) {
        if (!quiet_) selectItemChanged(row);
    });
    for (QLineEdit* f : {txtItemPosX_, txtItemPosY_, txtItemWidth_, txtItemHeight_})
        connect(f, &QLineEdit::editingFinished, this, [this, f] { fieldLeft(f); });
    connect(txtThickOrImageNo_, &QLineEdit::editingFinished, this, [this] { thickChanged(); });
    connect(txtLabelWidth_, &QLineEdit::editingFinished, this, [this] { labelSizeLeft(true); });
    connect(txtLabelHeight_, &QLineEdit::editingFinished, this, [this] { labelSizeLeft(false); });
    connect(comboItemAngle_, &QComboBox::activated, this, [this](int i) { angleChanged(i); });
    connect(comboItemStatus_, &QComboBox::activated, this, [this](int i) { statusChanged(i); });
    connect(comboItemFont_, &QComboBox::activated, this, [this](int i) { fontChanged(i); });
    connect(comboZoom_, &QComboBox::activated, this, [this](int i) { zoomChosen(i); });
    connect(VScrollDisplayLabel_, &QScrollBar::valueChanged, this, [this](int) { setLabelGeometry(); });
    connect(save, &QPushButton::clicked, this, [this] { cmdSave(); });
    connect(copy, &QPushButton::clicked, this, [this] { cmdCopy(); });
    connect(del, &QPushButton::clicked, this, [this] { cmdDelete(); });
    connect(down, &QPushButton::clicked, this, [this] { cmdDownload(); });
    connect(up, &QPushButton::clicked, this, [this] { cmdUpload(); });
    connect(close, &QPushButton::clicked, this, [this] { cmdClose(); });
    connect(preview, &QPushButton::clicked, this, [this] { cmdPreview(); });
}

int FrmLabelFormat::formatNumber() const { return comboFreeFormatNo_->currentIndex() + 1; }
int FrmLabelFormat::labelType() const { return std::max(0, comboLabelType_->currentIndex()); }
int FrmLabelFormat::labelWidthUnits() const { return static_cast<int>(leadingDecimal(st_.LabelWidth)) * kUnitsPerMm; }
int FrmLabelFormat::labelHeightUnits() const { return static_cast<int>(leadingDecimal(st_.LabelHeight)) * kUnitsPerMm; }
std::string FrmLabelFormat::currentClass() const { return slotTable()[static_cast<size_t>(curItem_)].ItemType; }
int FrmLabelFormat::fieldInt(QLineEdit* f) const { return static_cast<int>(leadingDecimal(f->text().toStdString())); }

void FrmLabelFormat::setZoom(double pixelsPerUnit) {
    zoom_ = std::clamp(pixelsPerUnit, kDefaultZoom / 4, kDefaultZoom * 4);
    setLabelGeometry();
}

double FrmLabelFormat::realSizeZoom() const {
    const QScreen* s = screen();
    const double dpi = s ? s->logicalDotsPerInchX() : 96.0;
    return dpi / 25.4 / kUnitsPerMm;
}

void FrmLabelFormat::zoomChosen(int index) {
    if (index >= 0 && index < static_cast<int>(std::size(kZoomPercents)))
        setZoom(kDefaultZoom * kZoomPercents[index] / 100.0);
    else
        setZoom(realSizeZoom());
    scrollToTopLeft();
}

void FrmLabelFormat::scrollToTopLeft() {
    scrollLabel_->horizontalScrollBar()->setValue(0);
    scrollLabel_->verticalScrollBar()->setValue(0);
}

void FrmLabelFormat::showEvent(QShowEvent* e) {
    QDialog::showEvent(e);
    scrollToTopLeft();
}

bool FrmLabelFormat::eventFilter(QObject* watched, QEvent* e) {
    // Ctrl+wheel over the label zooms rather than scrolls.
    if (watched == scrollLabel_->viewport() && e->type() == QEvent::Wheel) {
        auto* w = static_cast<QWheelEvent*>(e);
        if (w->modifiers() & Qt::ControlModifier) {
            wheelEvent(w);
            return true;
        }
    }
    return QDialog::eventFilter(watched, e);
}

void FrmLabelFormat::setLabelGeometry() {
    const int W = labelWidthUnits(), L = labelHeightUnits();
    const bool tall = L > 110 * kUnitsPerMm;
    int boxH = L + kUnitsPerMm;
    int top = 0;
    {
        QSignalBlocker b(VScrollDisplayLabel_);
        if (tall) {
            boxH = kViewportUnits;
            VScrollDisplayLabel_->setRange(0, (L - kViewportUnits + kUnitsPerMm) / kUnitsPerMm);
            VScrollDisplayLabel_->show();
            top = -kUnitsPerMm * VScrollDisplayLabel_->value();
        } else {
            VScrollDisplayLabel_->setValue(0);
            VScrollDisplayLabel_->hide();
        }
    }
    const int boxW = 56 * kUnitsPerMm + 2 * kUnitsPerMm;
    picLabelbox_->setFixedSize(rnd(boxW * zoom_), rnd(boxH * zoom_));
    VScrollDisplayLabel_->setFixedHeight(rnd(8800 * zoom_));
    picLabel_->setGeometry(rnd(kUnitsPerMm * zoom_), rnd(top * zoom_), rnd(W * zoom_), rnd(L * zoom_));
    picGap_->setGeometry(0, rnd((top + L) * zoom_), picLabelbox_->width(), rnd(kUnitsPerMm * zoom_));
    picGap_->setVisible(chkGap_->isChecked());
    for (ItemBox* b : picItem_)
        if (!b->isHidden()) placeBox(*b);
}

void FrmLabelFormat::placeBox(ItemBox& box) {
    const QRect u = box.units;
    box.setGeometry(rnd(u.x() * zoom_), rnd(u.y() * zoom_), std::max(1, rnd(u.width() * zoom_)),
                    std::max(1, rnd(u.height() * zoom_)));
    txtItem_[static_cast<size_t>(box.slot())]->setGeometry(0, 0, box.width(), box.height());
}

void FrmLabelFormat::ListItemSet(int type) {
    for (ItemBox* b : picItem_) b->hide();
    const bool was = quiet_;
    quiet_ = true;
    SelectItem_->clear();
    listItem_->clear();
    const char* section = type == 0 ? "LabelFormat_Item" : "LabelFormat_Total";
    const size_t n = type == 0 ? kItemSlots : kTotalSlots;
    for (size_t i = 0; i < n; ++i) {
        auto* it = new QListWidgetItem(param(section, i), listItem_);
        it->setFlags(it->flags() | Qt::ItemIsUserCheckable);
        it->setCheckState(Qt::Unchecked);
    }
    quiet_ = was;
}

void FrmLabelFormat::ItemDisplay(int type) {
    const int first = type == 0 ? 0 : kItemSlots, count = type == 0 ? kItemSlots : kTotalSlots;
    for (int i = 0; i < count; ++i) {
        if (st_.ItemUsed[static_cast<size_t>(first + i)] != 1) continue;
        QListWidgetItem* it = listItem_->item(i);
        if (!it) continue;
        quiet_ = true;
        it->setCheckState(Qt::Checked);
        SelectItem_->addItem(it->text());
        SelectItem_->setCurrentRow(SelectItem_->count() - 1);
        quiet_ = false;
        selectItemChanged(SelectItem_->count() - 1);
    }
}

void FrmLabelFormat::TextInitialize() {
    for (QLineEdit* f : {txtItemPosX_, txtItemPosY_, txtItemWidth_, txtItemHeight_, txtThickOrImageNo_}) {
        f->clear();
        f->setEnabled(false);
    }
    for (QComboBox* c : {comboItemAngle_, comboItemFont_, comboItemStatus_}) c->setEnabled(false);
}

void FrmLabelFormat::GetPosValue(int angle) {
    const int X = fieldInt(txtItemPosX_), Y = fieldInt(txtItemPosY_), W = fieldInt(txtItemWidth_),
              H = fieldInt(txtItemHeight_), L = labelHeightUnits();
    const int u = kUnitsPerMm;
    QRect r;
    switch (angle) {
        case 1: r = QRect((X - H) * u, L - (Y + W) * u, H * u, W * u); break;
        case 2: r = QRect((X - W) * u, L - Y * u, W * u, H * u); break;
        case 3: r = QRect(X * u, L - Y * u, H * u, W * u); break;
        default: r = QRect(X * u, L - (Y + H) * u, W * u, H * u); break;
    }
    ItemBox* box = picItem(curItem_);
    box->units = r;
    placeBox(*box);
    box->show();
    box->raise();
    box->update();
}

void FrmLabelFormat::SaveTempItemString() {
    if (txtItemPosX_->text().isEmpty()) return;
    ItemEdit e;
    e.posX = txtItemPosX_->text().toStdString();
    e.posY = txtItemPosY_->text().toStdString();
    e.width = fieldInt(txtItemWidth_);
    e.height = fieldInt(txtItemHeight_);
    e.ItemAttr = ItemAttr_;
    e.ItemValue = ItemValue_;
    st_.ItemString[static_cast<size_t>(curItem_)] = labelformat::SaveTempItemString(curItem_, e);
    refreshPreview();
}

Bytes FrmLabelFormat::currentRecord() const {
    FormatState st = st_;
    applySizeRule(st);
    std::vector<std::string> text(static_cast<size_t>(layout_.columnCount()), "0");
    auto set = [&](int col, std::string v) {
        if (col >= 0 && col < layout_.columnCount()) text[static_cast<size_t>(col)] = std::move(v);
    };
    set(0, std::to_string(formatNumber()));
    set(2, hex(st.FormatSize));
    set(3, hex(mmToDots(static_cast<double>(leadingDecimal(st.LabelWidth)))));
    set(4, hex(mmToDots(static_cast<double>(leadingDecimal(st.LabelHeight)))));
    set(5, std::to_string(st.FormatLevel));
    for (int i = 0; i < kSlotCount; ++i)
        if (slotColumn(i) && !st.ItemString[static_cast<size_t>(i)].empty()) set(slotColumn(i), st.ItemString[static_cast<size_t>(i)]);
    Bytes out;
    int bad = -1;
    columnsToRecord([&](int col) { return text[static_cast<size_t>(col)]; }, layout_, out, bad);
    return out;
}

void FrmLabelFormat::refreshPreview() {
    if (!preview_) return;
    RecordView v;
    if (readRecord(currentRecord(), layout_, v)) preview_->setRecord(v);
}

void FrmLabelFormat::cmdPreview() {
    if (!preview_) {
        preview_ = new FrmLabelPreview(state_, this);
        preview_->setGap(chkGap_->isChecked());
    }
    refreshPreview();
    preview_->show();
    preview_->raise();
}

void FrmLabelFormat::classFields(const std::string& cls) {
    const bool n1 = cls == "N1", c = cls[0] == 'C', b1 = cls == "B1", b3 = cls == "B3", b4 = cls == "B4";
    for (QLineEdit* f : {txtItemPosX_, txtItemPosY_}) f->setEnabled(true);
    txtItemWidth_->setEnabled(!n1 && !b1);
    txtItemHeight_->setEnabled(!n1);
    comboItemFont_->setVisible(n1 || c);
    if (auto* l = findChild<QLabel*>("labItemFont")) l->setVisible(n1 || c);
    comboItemFont_->setEnabled(n1 || c);
    labThickOrImageNo_->setVisible(b3 || b4);
    labThickOrImageNo_->setText(b3 ? text("labThick") : b4 ? text("labImageNo") : text("labThickOrImageNo"));
    labThickUnit_->setVisible(b3);
    txtThickOrImageNo_->setEnabled(b3 || b4);
    txtThickOrImageNo_->setVisible(true);
    comboItemAngle_->setEnabled(!b3);
    comboItemStatus_->setEnabled(true);
}

void FrmLabelFormat::setBoxFont() {
    QLabel* t = txtItem_[static_cast<size_t>(curItem_)];
    QFont f = t->font();
    const bool small = fieldInt(txtItemWidth_) < 4 || fieldInt(txtItemHeight_) < 4;
    f.setPointSizeF(std::max(1.0, (small ? 5.25 : 9.0) * zoom_ / kDefaultZoom));
    t->setFont(f);
}

void FrmLabelFormat::selectItemChanged(int row) {
    if (row < 0 || row >= SelectItem_->count()) return;
    const int n = SelectItem_->item(row)->text().left(2).toInt();
    const int previous = curItem_;
    curItem_ = n - 1 + (labelType() == 1 ? kItemSlots : 0);
    if (curItem_ < 0 || curItem_ >= kSlotCount) {
        curItem_ = previous;
        return;
    }
    picItem(previous)->update();
    const std::string cls = currentClass();
    const auto idx = static_cast<size_t>(curItem_);
    quiet_ = true;
    if (st_.ItemUsed[idx] == 0) {
        txtItemPosX_->setText("3");
        txtItemPosY_->setText("3");
        ItemValue_ = "02";
        ItemAttr_ = "0070";
        comboItemAngle_->setCurrentIndex(0);
        comboItemStatus_->setCurrentIndex(7);
        comboItemFont_->setCurrentIndex(2);
        int w = 10, h = 6;
        txtThickOrImageNo_->clear();
        if (cls == "N1") {
            w = rnd(fonts()[2].FontWidth * slotLength(curItem_) / 8.0);
            h = std::max(2, rnd(fonts()[2].FontHeight / 8.0));
        } else if (cls == "B1") {
            w = 26;
        } else if (cls == "B3") {
            ItemValue_ = "04";
            txtThickOrImageNo_->setText("4");
        } else if (cls == "B4") {
            ItemValue_ = "00";
            txtThickOrImageNo_->setText("0");
        }
        txtItemWidth_->setText(QString::number(w));
        txtItemHeight_->setText(QString::number(h));
        st_.ItemUsed[idx] = 1;
        quiet_ = false;
        SaveTempItemString();
    } else {
        const ItemFields f = readItemString(curItem_, st_.ItemString[idx]);
        const ItemSizeMm mm = itemSizeMm(curItem_, f);
        txtItemPosX_->setText(QString::number(mm.x));
        txtItemPosY_->setText(QString::number(mm.y));
        txtItemWidth_->setText(QString::number(mm.width));
        txtItemHeight_->setText(QString::number(mm.height));
        ItemAttr_ = f.attr;
        ItemValue_ = f.value;
        comboItemStatus_->setCurrentIndex(f.status);
        comboItemAngle_->setCurrentIndex(f.angle);
        if (!isBarcodeClass(cls)) comboItemFont_->setCurrentIndex(std::max(0, f.font));
        if (cls == "B3" || cls == "B4") txtThickOrImageNo_->setText(QString::number(leadingDecimal(f.value)));
        else txtThickOrImageNo_->clear();
        quiet_ = false;
    }
    classFields(cls);
    setBoxFont();
    GetPosValue(comboItemAngle_->currentIndex());
}

void FrmLabelFormat::listItemChecked(QListWidgetItem* item) {
    const int row = listItem_->row(item);
    const int slot = row + (labelType() == 1 ? kItemSlots : 0);
    if (row < 0 || slot >= kSlotCount) return;
    if (item->checkState() == Qt::Checked) {
        if (std::string_view(slotTable()[static_cast<size_t>(slot)].ItemType) == "FF") {
            quiet_ = true;
            item->setCheckState(Qt::Unchecked);
            quiet_ = false;
            return;
        }
        quiet_ = true;
        SelectItem_->addItem(item->text());
        SelectItem_->setCurrentRow(SelectItem_->count() - 1);
        quiet_ = false;
        selectItemChanged(SelectItem_->count() - 1);
    } else {
        const auto found = SelectItem_->findItems(item->text(), Qt::MatchExactly);
        picItem(slot)->hide();
        quiet_ = true;
        for (QListWidgetItem* f : found) delete SelectItem_->takeItem(SelectItem_->row(f));
        quiet_ = false;
        st_.ItemUsed[static_cast<size_t>(slot)] = 0;
        st_.ItemString[static_cast<size_t>(slot)] = "";
        refreshPreview();
        if (SelectItem_->count() == 0) {
            TextInitialize();
        } else if (slot == curItem_) {
            // The fields never show an item that has left the label.
            quiet_ = true;
            SelectItem_->setCurrentRow(0);
            quiet_ = false;
            selectItemChanged(0);
        }
    }
    saveState_ = "0";
}

void FrmLabelFormat::fieldLeft(QLineEdit* field) {
    if (txtItemPosX_->text().isEmpty() && txtItemPosY_->text().isEmpty()) return;
    const int W = static_cast<int>(leadingDecimal(st_.LabelWidth)), H = static_cast<int>(leadingDecimal(st_.LabelHeight));
    auto position = [&](QLineEdit* f, int size) {
        if (f->text().isEmpty()) f->setText("0");
        if (fieldInt(f) >= size) f->setText(QString::number(size - 1));
    };
    auto extent = [&](QLineEdit* f, int size) {
        if (f->text().isEmpty() || fieldInt(f) < 2) f->setText("2");
        if (fieldInt(f) >= size) f->setText(QString::number(size - 2));
    };
    if (field == txtItemPosX_) position(field, W);
    else if (field == txtItemPosY_) position(field, H);
    else {
        extent(field, field == txtItemWidth_ ? W : H);
        setBoxFont();
    }
    GetPosValue(comboItemAngle_->currentIndex());
    SaveTempItemString();
    saveState_ = "0";
}

void FrmLabelFormat::limitSize() {
    const int W = static_cast<int>(leadingDecimal(st_.LabelWidth)), H = static_cast<int>(leadingDecimal(st_.LabelHeight));
    for (auto [f, size] : {std::pair{txtItemWidth_, W}, std::pair{txtItemHeight_, H}}) {
        if (f->text().isEmpty() || fieldInt(f) < 2) f->setText("2");
        if (fieldInt(f) >= size) f->setText(QString::number(size - 2));
    }
}

void FrmLabelFormat::angleChanged(int pos) {
    if (txtItemPosX_->text().isEmpty()) return;
    ItemAttr_ = hex(4 * pos) + "0" + ItemAttr_.substr(std::min<size_t>(2, ItemAttr_.size()));
    limitSize();
    GetPosValue(pos);
    SaveTempItemString();
    saveState_ = "0";
}

void FrmLabelFormat::statusChanged(int pos) {
    if (txtItemPosX_->text().isEmpty()) return;
    ItemAttr_ = ItemAttr_.substr(0, 2) + std::to_string(pos) + "0";
    SaveTempItemString();
    saveState_ = "0";
}

void FrmLabelFormat::fontChanged(int pos) {
    if (txtItemPosX_->text().isEmpty() || pos < 0 || pos >= kFontCount) return;
    ItemValue_ = fonts()[static_cast<size_t>(pos)].FontCode;
    if (currentClass() == "N1") {
        txtItemWidth_->setText(QString::number(rnd(fonts()[static_cast<size_t>(pos)].FontWidth * slotLength(curItem_) / 8.0)));
        txtItemHeight_->setText(QString::number(std::max(2, rnd(fonts()[static_cast<size_t>(pos)].FontHeight / 8.0))));
        setBoxFont();
        GetPosValue(comboItemAngle_->currentIndex());
    }
    SaveTempItemString();
    saveState_ = "0";
}

void FrmLabelFormat::thickChanged() {
    if (txtItemPosX_->text().isEmpty()) return;
    ItemValue_ = padLeft(txtThickOrImageNo_->text().toStdString(), 4);
    SaveTempItemString();
    saveState_ = "0";
}

void FrmLabelFormat::labelSizeLeft(bool width) {
    QLineEdit* f = width ? txtLabelWidth_ : txtLabelHeight_;
    if (f->text().isEmpty()) f->setText(width ? "56" : "50");
    const int v = std::clamp(fieldInt(f), width ? 30 : 20, width ? 56 : 220);
    f->setText(QString::number(v));
    (width ? st_.LabelWidth : st_.LabelHeight) = std::to_string(v);
    setLabelGeometry();
    // Every placed item of the type is shown again from its own string.
    const int keep = SelectItem_->currentRow();
    for (int row = 0; row < SelectItem_->count(); ++row) {
        quiet_ = true;
        SelectItem_->setCurrentRow(row);
        quiet_ = false;
        selectItemChanged(row);
    }
    if (keep >= 0 && keep < SelectItem_->count()) {
        quiet_ = true;
        SelectItem_->setCurrentRow(keep);
        quiet_ = false;
        selectItemChanged(keep);
    }
    refreshPreview();
    saveState_ = "0";
}

// ---------------------------------------------------------------- dragging

void FrmLabelFormat::boxMove(ItemBox& box, QPoint p, bool buttonDown) {
    if (box.slot() != curItem_) return;
    const std::string cls = currentClass();
    const int angle = comboItemAngle_->currentIndex();
    if (dragMode_ == 0 || !buttonDown) {
        const int W = box.units.width(), H = box.units.height();
        const bool noWidth = cls == "N1" || (cls == "B1" && angle % 2 == 0);
        const bool noHeight = cls == "N1" || (cls == "B1" && angle % 2 == 1);
        if (p.x() > W - kUnitsPerMm && !noWidth) {
            box.setCursor(Qt::SizeHorCursor);
            nearEdge_ = 1;
            hotEdge_ = 1;
        } else if (p.y() > H - kUnitsPerMm && !noHeight) {
            box.setCursor(Qt::SizeVerCursor);
            nearEdge_ = 1;
            hotEdge_ = 2;
        } else {
            box.setCursor(Qt::ArrowCursor);
            nearEdge_ = 0;
        }
        return;
    }
    const int L = labelHeightUnits();
    if (dragMode_ == 1) {
        QRect& u = box.units;
        if (hotEdge_ == 1 && p.x() >= 2 * kUnitsPerMm) u.setWidth(p.x());
        if (hotEdge_ == 2 && p.y() >= 2 * kUnitsPerMm) u.setHeight(p.y());
        placeBox(box);
        quiet_ = true;
        const bool upright = angle % 2 == 0;
        if (hotEdge_ == 1) {
            (upright ? txtItemWidth_ : txtItemHeight_)->setText(QString::number(rnd(u.width() / 80.0)));
        } else {
            (upright ? txtItemHeight_ : txtItemWidth_)->setText(QString::number(rnd(u.height() / 80.0)));
            fieldsFromBox(box);
        }
        quiet_ = false;
        setBoxFont();
    } else if (dragMode_ == 2) {
        QRect& u = box.units;
        int left = u.x() + p.x() - dragStart_.x(), top = u.y() + p.y() - dragStart_.y();
        left = std::max(0, left);
        top = std::max(0, top);
        if (left + u.width() > labelWidthUnits()) left = labelWidthUnits() - u.width();
        if (top + u.height() > L) top = L - u.height();
        u.moveTo(left, top);
        placeBox(box);
        dragOffset_ = QPoint(left - u.width(), top - u.height());
        fieldsFromBox(box);
    }
    SaveTempItemString();
    saveState_ = "0";
}

void FrmLabelFormat::fieldsFromBox(const ItemBox& box) {
    const QRect u = box.units;
    const int L = labelHeightUnits();
    int x = u.x(), y = L - u.y() - u.height();
    switch (comboItemAngle_->currentIndex()) {
        case 1: x = u.x() + u.width(); break;
        case 2: x = u.x() + u.width(); y = L - u.y(); break;
        case 3: y = L - u.y(); break;
        default: break;
    }
    txtItemPosX_->setText(QString::number(rnd(x / 80.0)));
    txtItemPosY_->setText(QString::number(rnd(y / 80.0)));
}

void FrmLabelFormat::boxPress(ItemBox& box, QPoint p) {
    if (box.slot() != curItem_) return;
    dragMode_ = nearEdge_ == 1 ? 1 : 2;
    dragStart_ = p;
}

void FrmLabelFormat::boxRelease(ItemBox& box) {
    if (dragMode_ == 2) placeBox(box);
    if (dragMode_ != 0) {
        SaveTempItemString();
        saveState_ = "0";
    }
    dragMode_ = 0;
}

// ---------------------------------------------------------------- format, save and transfers

void FrmLabelFormat::formatChanged(int index) {
    if (quiet_) return;
    if (saveState_.isEmpty()) return;
    if (saveState_ == "11") {
        saveState_ = "0";
        return;
    }
    if (saveState_ == "0") {
        if (Messages::key(state_, "formatsave", MsgIcon::Question, MsgButtons::YesNo, this) == MsgResult::No) {
            saveState_ = "11";
            comboFreeFormatNo_->setCurrentIndex(lastFormatIndex_);
            saveState_ = "0";
            return;
        }
    }
    OpenData(*state_.Conn, index + 1, st_);
    txtLabelWidth_->setText(qs(st_.LabelWidth));
    txtLabelHeight_->setText(qs(st_.LabelHeight));
    setLabelGeometry();
    quiet_ = true;
    comboLabelType_->setCurrentIndex(0);
    quiet_ = false;
    labelTypeChanged();
    lastFormatIndex_ = index;
    saveState_ = "1";
}

void FrmLabelFormat::labelTypeChanged() {
    TextInitialize();
    ListItemSet(labelType());
    ItemDisplay(labelType());
    refreshPreview();
}

void FrmLabelFormat::cmdSave() {
    applySizeRule(st_);
    SaveData(*state_.Conn, formatNumber(), st_);
    reportCodeProblems(codeFormat(*state_.Conn));
    saveState_ = "1";
}

void FrmLabelFormat::cmdCopy() {
    OpenData(*state_.Conn, comboFreeFormatNoC_->currentIndex() + 1, st_);
    txtLabelWidth_->setText(qs(st_.LabelWidth));
    txtLabelHeight_->setText(qs(st_.LabelHeight));
    setLabelGeometry();
    labelTypeChanged();
    saveState_ = "0";
}

void FrmLabelFormat::cmdDelete() {
    if (Messages::key(state_, "formatdelete", MsgIcon::Question, MsgButtons::YesNo, this) == MsgResult::No) return;
    {
        store::Recordset rs(*state_.Conn, "KVR_34");
        while (!rs.eof()) {
            const std::string t = rs.value(0).toText();
            if (!t.empty() && leadingDecimal(t) == formatNumber()) {
                rs.remove();
                break;
            }
            rs.moveNext();
        }
    }
    saveState_ = "1";
    formatChanged(comboFreeFormatNo_->currentIndex());
}

bool FrmLabelFormat::askUnsaved() {
    // Yes only lets the command go on: the format is not saved by it.
    if (saveState_ != "0") return true;
    return Messages::key(state_, "formatsave", MsgIcon::Question, MsgButtons::YesNo, this) != MsgResult::No;
}

void FrmLabelFormat::cmdDownload() {
    if (!runFlow_) return;
    transfer::FlowHooks hooks;
    hooks.askUnsaved = [this] { return askUnsaved(); };
    runFlow_(transfer::Flow::LabelDownload, hooks);
}

void FrmLabelFormat::cmdUpload() {
    if (!runFlow_) return;
    transfer::FlowHooks hooks;
    hooks.askUnsaved = [this] { return askUnsaved(); };
    hooks.after = [this] { afterUpload(); };
    runFlow_(transfer::Flow::LabelUpload, hooks);
}

void FrmLabelFormat::afterUpload() {
    const bool overwrite =
        Messages::key(state_, "formatoverride", MsgIcon::Question, MsgButtons::YesNo, this) == MsgResult::Yes;
    const MergeReport m = mergeUploaded(*state_.Conn, overwrite);
    if (!m.rejected.empty()) {
        QStringList l;
        for (const auto& r : m.rejected) l << qs(r);
        Messages::show(qs(state_.text("msgbox", "formatrejected")).arg(l.join(", ")), MsgIcon::Exclamation,
                       MsgButtons::Ok, this);
    }
    reportDecodeProblems(decodeFormat(*state_.Conn));
    saveState_ = "1";
    formatChanged(comboFreeFormatNo_->currentIndex());
}

void FrmLabelFormat::reportCodeProblems(const CodeReport& r) {
    for (const auto& p : r.notHex)
        Messages::show(qs(state_.text("msgbox", "formatnothex")).arg(qs(p.format), qs(p.column), qs(p.text)),
                       MsgIcon::Exclamation, MsgButtons::Ok, this);
}

void FrmLabelFormat::reportDecodeProblems(const DecodeReport& r) {
    for (const auto& p : r.unreadable)
        Messages::show(qs(state_.text("msgbox", "formatunreadable")).arg(qs(p.format)).arg(p.length),
                       MsgIcon::Exclamation, MsgButtons::Ok, this);
    if (!r.oddSize.empty()) {
        QStringList l;
        for (const auto& p : r.oddSize) l << QString("%1 (%2)").arg(qs(p.format)).arg(p.size);
        Messages::show(qs(state_.text("msgbox", "formatoddsize")).arg(l.join(", ")), MsgIcon::Exclamation,
                       MsgButtons::Ok, this);
    }
}

void FrmLabelFormat::cmdClose() {
    if (saveState_ == "0" &&
        Messages::key(state_, "formatsave", MsgIcon::Question, MsgButtons::YesNo, this) == MsgResult::No)
        return;
    saveState_ = "";
    done(QDialog::Accepted);
}

void FrmLabelFormat::wheelEvent(QWheelEvent* e) {
    if (!(e->modifiers() & Qt::ControlModifier)) return QDialog::wheelEvent(e);
    setZoom(e->angleDelta().y() > 0 ? zoom_ * 1.25 : zoom_ / 1.25);
    e->accept();
}

void FrmLabelFormat::closeEvent(QCloseEvent* e) {
    if (saveState_.isEmpty()) {
        e->accept();
        return;
    }
    if (saveState_ == "0" &&
        Messages::key(state_, "formatsave", MsgIcon::Question, MsgButtons::YesNo, this) == MsgResult::No) {
        e->ignore();
        return;
    }
    saveState_ = "";
    e->accept();
}

}  // namespace brindale::labelformat::ui
