#include "plu/ui/plu_editor_window.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QEvent>
#include <QFocusEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <sqlite3.h>

#include "codec/text_block.h"
#include "plu/plu_store.h"
#include "scalefiles/ui/string_edit.h"
#include "shell/main_window.h"
#include "shell/messages.h"
#include "shell/program_state.h"
#include "store/codec_sources.h"

namespace brindale::plu::ui {

namespace {

QString qs(const std::string& s) { return QString::fromStdString(s); }
int64_t num(int64_t v) { return v == codec::kNullNumber ? 0 : v; }

// One cell of a page's grid: a caption (section frmMain_sstab, none for check boxes that carry
// their own) and the controls beside it, left to right.
struct Item {
    const char* label;
    std::vector<const char*> names;
};
using Row = std::vector<Item>;
struct PageDef {
    const char* key;
    std::vector<Row> rows;
};

const std::vector<PageDef>& pageDefs() {
    static const std::vector<PageDef> defs = {
        {"MainTab0",
         {{{"MainTabPLU", {"meditPLU"}}, {"MainTabName", {"txtName", "cmdFont"}}},
          {{"MainTabUP", {"meditUPrice"}}, {"MainTabCost", {"meditCost"}}},
          {{nullptr, {"chkWeighed"}}, {"MainTabSymbol", {"combSymbol"}}},
          {{"MainTabTare", {"meditTare", "lblTareUnit"}}, {"MainTabQty", {"meditQty", "lblQtyUnit"}}},
          {{"MainTabMG", {"combMG"}}, {"MainTabDepartment", {"meditDepartment"}}},
          {{"MainTabCoupledPLU", {"meditCoupledPLU"}}, {nullptr, {"chkUPoverride", "chknegativePLU"}}},
          {{"MainTabTemp1", {"meditTemp1"}}, {"MainTabTemp2", {"meditTemp2"}}}}},
        {"MainTab1",
         {{{"MainTabLabelFormat1", {"combLabelFormat1"}}, {"MainTabLabelFormat2", {"combLabelFormat2"}}},
          {{"MainTabBarKind", {"CombBarType"}}, {"MainTabBarType", {"combBarCode"}}},
          {{"MainTabBarFormat", {"combBarcodeFormat"}}, {"MainTabItemCode", {"meditItemCode"}}},
          {{"MainTabFlagCode", {"meditFlagCode1", "meditFlagCode2"}}, {"MainTabPreview", {"lblBarcodePreview"}}},
          {{"MainTabMBar", {"CombMBar", "CombMBarType"}}, {"MainTabMBarTemplate", {"CombBarTypeC"}}},
          {{"MainTabMBarText", {"txtMBar"}}}}},
        {"MainTab2",
         {{{"MainTabSellDate", {"meditSellDate", "chkSellDatePrint"}},
           {"MainTabSellTime", {"DTPickerSellTime", "chkSellTimePrint", "chkSellTimeRTC"}}},
          {{"MainTabPackDate", {"meditPackDate", "chkPackDatePrint"}},
           {"MainTabPackTime", {"DTPickerPackTime", "chkPackTimePrint", "chkPackTimeRTC"}}},
          {{"MainTabUseDate", {"meditUseDate", "chkUseDatePrint"}}, {"MainTabPlaceNum", {"meditPlaceNum"}}},
          {{"MainTabIngrNum", {"meditIngrNum"}}, {"MainTabSMsgNum", {"meditSMsgNum"}}},
          {{"MainTabExIngrNum", {"meditExIngrNum"}}, {"MainTabExSMsgNum", {"meditExSMsgNum"}}},
          {{"MainTabText", {"meditText1", "meditText2", "meditText3", "meditText4", "meditText5"}}},
          {{"MainTabImage",
            {"meditImage1", "meditImage2", "meditImage3", "meditImage4", "meditImage5", "meditImage6", "meditImage7",
             "meditImage8", "meditImage9", "meditImage10"}}},
          {{"MainTabIngredient", {"meditIngredient", "cmdIngredientFont"}}},
          {{"MainTabSMG", {"meditSMG", "cmdSpecialMsgFont"}}}}},
        {"MainTab3",
         {{{"MainTabTypeDisc", {"combDiscType"}}, {"MainTabTypeMD", {"combMarkdownType"}}},
          {{"MainTabDiscLmt1", {"meditDiscLimit1"}}, {"MainTabDiscAmt1", {"meditDiscLmtPer1", "lblDiscLmtPerSym1"}}},
          {{"MainTabDiscLmt2", {"meditDiscLimit2"}}, {"MainTabDiscAmt2", {"meditDiscLmtPer2", "lblDiscLmtPerSym2"}}},
          {{"MainTabStartDate", {"DTPickerStartDate"}}, {"MainTabStartTime", {"DTPickerStartTime"}}},
          {{"MainTabEndDate", {"DTPickerEndDate"}}, {"MainTabEndTime", {"DTPickerEndTime"}}},
          {{"MainTabDiscDayOfWeek", {"meditDiscDayOfWeek"}}}}},
        {"MainTab8", {{{nullptr, {"chkNutriPNT"}}}, {{nullptr, {"GridNutri"}}}}},
    };
    return defs;
}

// Captions of the check boxes and the editor's own buttons.
const std::map<std::string, const char*>& ownCaptions() {
    static const std::map<std::string, const char*> m = {
        {"chkWeighed", "MainTabWeighted"},    {"chkUPoverride", "MainTabUPOV"},
        {"chknegativePLU", "MainTabNPLU"},    {"chkSellDatePrint", "MainTabPrint"},
        {"chkSellTimePrint", "MainTabPrint"}, {"chkSellTimeRTC", "MainTabRTC"},
        {"chkPackDatePrint", "MainTabPrint"}, {"chkPackTimePrint", "MainTabPrint"},
        {"chkPackTimeRTC", "MainTabRTC"},     {"chkUseDatePrint", "MainTabPrint"},
        {"chkNutriPNT", "MainTabNutriPrint"}, {"cmdFont", "MainTabFont"},
        {"cmdIngredientFont", "MainTabFont"}, {"cmdSpecialMsgFont", "MainTabFont"},
        {"lblDiscLmtPerSym1", "MainTabDiscPer"}, {"lblDiscLmtPerSym2", "MainTabDiscPer"},
    };
    return m;
}

bool focusable(const std::string& name) {
    return !name.starts_with("lbl") && name != "meditDepartment";
}

// The nutrition grid's cell editor is a line edit named txtNutri.
class NutriDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex&) const override {
        auto* e = new QLineEdit(parent);
        e->setObjectName("txtNutri");
        return e;
    }
};

// The columns of GridNutri.
enum { kNutriCaption, kNutriValue, kNutriUnit, kNutriPercent, kNutriColumns };

// Writes every column, so that a new row holds exactly what the save made of it.
void writeWholeRow(store::Recordset& rs, const codec::PluRow& row) {
    for (const auto& c : codec::pluColumns()) {
        if (!rs.hasField(c.name)) continue;
        switch (c.kind) {
            case codec::ColumnKind::Number: {
                const int64_t v = row.*c.number;
                rs.setValue(c.name, v == codec::kNullNumber ? store::Value() : store::Value(v));
                break;
            }
            case codec::ColumnKind::Text: {
                const auto& v = row.*c.text;
                rs.setValue(c.name, v ? store::Value(*v) : store::Value());
                break;
            }
            case codec::ColumnKind::Bytes: {
                const auto& v = row.*c.bytes;
                rs.setValue(c.name, v ? store::Value(*v) : store::Value());
                break;
            }
        }
    }
}

}  // namespace

PluEditor::PluEditor(shell::ProgramState& state, QWidget* parent) : QTabWidget(parent), state_(state) {
    setObjectName("SSTabPLU");
    build();
    clear();
}

PluEditor::~PluEditor() = default;

const std::vector<std::vector<const char*>>& PluEditor::tabOrder() {
    static const std::vector<std::vector<const char*>> order = [] {
        std::vector<std::vector<const char*>> o;
        for (const auto& p : pageDefs()) {
            std::vector<const char*> names;
            for (const auto& r : p.rows)
                for (const auto& it : r)
                    for (const char* n : it.names)
                        if (focusable(n)) names.push_back(n);
            o.push_back(names);
        }
        return o;
    }();
    return order;
}

void PluEditor::build() {
    for (const auto& def : pageDefs()) {
        auto* pg = new QWidget(this);
        pg->setObjectName(QString("SSTabPLUPage") + def.key);
        auto* grid = new QGridLayout(pg);
        int r = 0;
        for (const auto& row : def.rows) {
            int col = 0;
            for (const auto& item : row) {
                if (item.label) {
                    auto* lbl = new QLabel(item.label, pg);
                    lbl->setObjectName(std::string(item.label) == "MainTabDiscAmt1" ? QString("lblDiscLmtPer1")
                                                                                  : QString("lbl") + item.label);
                    captions_.push_back({lbl, "frmMain_sstab", item.label});
                    grid->addWidget(lbl, r, col);
                }
                auto* box = new QHBoxLayout;
                for (const char* n : item.names) {
                    const std::string name(n);
                    QWidget* w = nullptr;
                    const ControlInfo* info = findControl(name);
                    if (name.starts_with("cmd")) {
                        auto* b = new QPushButton(pg);
                        b->setAutoDefault(false);
                        w = b;
                    } else if (name.starts_with("lbl")) {
                        w = new QLabel(pg);
                    } else if (info) {
                        switch (info->kind) {
                            case ControlKind::Edit:
                            case ControlKind::TextBlock: {
                                auto* e = new QLineEdit(pg);
                                if (info->kind == ControlKind::TextBlock || name == "meditDepartment")
                                    e->setReadOnly(true);
                                w = e;
                                break;
                            }
                            case ControlKind::Check: w = new QCheckBox(pg); break;
                            case ControlKind::Combo: w = new QComboBox(pg); break;
                            case ControlKind::Time:
                            case ControlKind::Date: {
                                auto* d = new QDateTimeEdit(pg);
                                d->setDisplayFormat(info->kind == ControlKind::Time ? "HH:mm" : "yyyy-MM-dd");
                                if (info->kind == ControlKind::Date)
                                    d->setDateRange(QDate(2000, 1, 1), QDate(2099, 12, 31));
                                w = d;
                                break;
                            }
                            case ControlKind::Grid: {
                                auto* t = new QTableWidget(0, kNutriColumns, pg);
                                t->setItemDelegate(new NutriDelegate(t));
                                t->verticalHeader()->setVisible(false);
                                t->horizontalHeader()->setSectionResizeMode(kNutriCaption, QHeaderView::Stretch);
                                t->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                                                   QAbstractItemView::AnyKeyPressed);
                                t->setTabKeyNavigation(false);
                                grid_ = t;
                                w = t;
                                break;
                            }
                        }
                    }
                    if (!w) continue;
                    w->setObjectName(n);
                    if (!focusable(name)) w->setFocusPolicy(Qt::NoFocus);
                    if (auto it = ownCaptions().find(name); it != ownCaptions().end())
                        captions_.push_back({w, "frmMain_sstab", it->second});
                    controls_[n] = w;
                    box->addWidget(w, name.starts_with("meditText") || name.starts_with("meditImage") ? 0 : 1);
                }
                box->addStretch(0);
                const bool wide = row.size() == 1;
                grid->addLayout(box, r, col + 1, 1, wide ? 3 : 1);
                col += 2;
            }
            ++r;
        }
        if (def.key != std::string("MainTab8")) grid->setRowStretch(r, 1);
        grid->setColumnStretch(1, 1);
        grid->setColumnStretch(3, 1);
        addTab(pg, def.key);
    }
    preview_ = qobject_cast<QLabel*>(controls_.at("lblBarcodePreview"));
    preview_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    preview_->setMinimumWidth(120);
    for (const char* n : {"meditText1", "meditText2", "meditText3", "meditText4", "meditText5", "meditImage1",
                          "meditImage2", "meditImage3", "meditImage4", "meditImage5", "meditImage6", "meditImage7",
                          "meditImage8", "meditImage9", "meditImage10"})
        controls_.at(n)->setMaximumWidth(48);

    // The tab order: each page top to bottom, left to right.
    for (const auto& names : tabOrder())
        for (size_t i = 1; i < names.size(); ++i) setTabOrder(controls_.at(names[i - 1]), controls_.at(names[i]));

    // The field event family and the change handlers.
    for (auto& [name, w] : controls_) {
        const QString n = name;
        if (auto* e = qobject_cast<QLineEdit*>(w)) {
            e->installEventFilter(this);
            if (isNumberControl(n)) {
                connect(e, &QLineEdit::textChanged, this, [this, e, n](const QString& t) {
                    if (filling_) return;
                    if (t.isEmpty() && n != "meditTemp1" && n != "meditTemp2" && n != "meditItemCode") {
                        filling_ = true;
                        e->setText("0");
                        e->selectAll();
                        filling_ = false;
                    }
                    onEdited();
                });
                connect(e, &QLineEdit::editingFinished, this, [this, e, n] {
                    if (filling_ || !active_) return;
                    numberFocusOut(e);
                    if (n.startsWith("meditDiscL")) {
                        PluFields f = fields();
                        applyDiscountRules(f, n.toStdString());
                        filling_ = true;
                        for (const char* c : {"meditDiscLimit1", "meditDiscLimit2", "meditDiscLmtPer1", "meditDiscLmtPer2"})
                            qobject_cast<QLineEdit*>(controls_.at(c))->setText(qs(f.*findControl(c)->text));
                        filling_ = false;
                        onEdited();
                    }
                });
            } else {
                connect(e, &QLineEdit::textChanged, this, [this] { onEdited(); });
            }
        } else if (auto* c = qobject_cast<QCheckBox*>(w)) {
            connect(c, &QCheckBox::toggled, this, [this, n](bool on) {
                if (filling_) return;
                if (n == "chkWeighed") {
                    filling_ = true;
                    fillCombo("combSymbol", symbolEntries(ctx_, on), 0);
                    const QString unit = qs(unitCaption(ctx_, on));
                    qobject_cast<QLabel*>(controls_.at("lblTareUnit"))->setText(unit);
                    qobject_cast<QLabel*>(controls_.at("lblQtyUnit"))->setText(unit);
                    filling_ = false;
                }
                onEdited();
            });
        } else if (auto* cb = qobject_cast<QComboBox*>(w)) {
            connect(cb, &QComboBox::currentIndexChanged, this, [this, n](int index) {
                if (filling_) return;
                filling_ = true;
                if (n == "CombBarType") {
                    PluFields f = fields();
                    fillCombo("combBarcodeFormat", baseComboEntries(ctx_, f, "combBarcodeFormat"), 0);
                } else if (n == "combMG") {
                    const auto* c = qobject_cast<QComboBox*>(controls_.at("combMG"));
                    const int64_t mg = c->itemData(index).toLongLong();
                    QString dp = "0";
                    for (const auto& g : ctx_.mainGroups)
                        if (g.MG_No == mg) dp = QString::number(g.DP_No);
                    qobject_cast<QLineEdit*>(controls_.at("meditDepartment"))->setText(dp);
                } else if (n == "CombMBar") {
                    PluFields f = fields();
                    f.CombMBar = mbarIndex_;
                    selectMultiBarcode(ctx_, f, index);
                    hidden_.multiBarcodes = f.multiBarcodes;
                    mbarIndex_ = index;
                    qobject_cast<QLineEdit*>(controls_.at("txtMBar"))->setText(qs(f.txtMBar));
                    qobject_cast<QComboBox*>(controls_.at("CombMBarType"))->setCurrentIndex(f.CombMBarType);
                } else if (n == "CombBarTypeC") {
                    qobject_cast<QLineEdit*>(controls_.at("txtMBar"))->setMaxLength(multiBarcodeMaxLength(index));
                } else if (n == "combDiscType") {
                    PluFields f = fields();
                    applyDiscountType(ctx_, f);
                    qobject_cast<QLineEdit*>(controls_.at("meditDiscLmtPer1"))->setText(qs(f.meditDiscLmtPer1));
                    qobject_cast<QLineEdit*>(controls_.at("meditDiscLmtPer2"))->setText(qs(f.meditDiscLmtPer2));
                }
                filling_ = false;
                if (n == "CombBarType" || n == "combBarcodeFormat" || n == "combBarCode") applyBarcodeControls();
                if (n == "combDiscType") applyDiscountState();
                onEdited();
            });
        } else if (auto* d = qobject_cast<QDateTimeEdit*>(w)) {
            connect(d, &QDateTimeEdit::dateTimeChanged, this, [this, n] {
                if (filling_) return;
                if (n.startsWith("DTPickerSt") || n.startsWith("DTPickerEnd")) {
                    PluFields f = fields();
                    applyDiscountRules(f, n.toStdString());
                    filling_ = true;
                    for (const char* c : {"DTPickerStartDate", "DTPickerEndDate"})
                        qobject_cast<QDateTimeEdit*>(controls_.at(c))
                            ->setDate(QDate::fromString(qs(f.*findControl(c)->text), "yyyy-MM-dd"));
                    for (const char* c : {"DTPickerStartTime", "DTPickerEndTime"})
                        qobject_cast<QDateTimeEdit*>(controls_.at(c))
                            ->setTime(QTime::fromString(qs(f.*findControl(c)->text), "HH:mm"));
                    filling_ = false;
                }
                onEdited();
            });
        } else if (auto* b = qobject_cast<QPushButton*>(w)) {
            const int kind = n == "cmdFont" ? 3 : n == "cmdIngredientFont" ? 1 : 2;
            connect(b, &QPushButton::clicked, this, [this, kind] { editBlock(kind); });
        }
    }
    connect(grid_, &QTableWidget::itemChanged, this, [this] { onEdited(); });
}

void PluEditor::attach(shell::MainWindow& window) {
    window_ = &window;
    window.setHandler("cmdNew", [this] { cmdNew(); });
    window.setHandler("cmdEdit", [this] { cmdEdit(); });
    window.setHandler("cmdUpdate", [this] { updatePLU(); });
    window.setHandler("cmdCancel", [this] { cmdCancel(); });
    window.setPluSaver([this] { return updatePLU(); });

    auto shortcut = [this](const QKeySequence& keys, const char* name, Qt::ShortcutContext context,
                           std::function<void()> run) {
        auto* s = new QShortcut(keys, window_, nullptr, nullptr, context);
        s->setObjectName(name);
        connect(s, &QShortcut::activated, this, std::move(run));
    };
    auto clickOf = [this](const char* name) {
        return [this, name] {
            if (QPushButton* b = window_->button(name); b && b->isEnabled()) b->click();
        };
    };
    shortcut(QKeySequence(Qt::CTRL | Qt::Key_S), "shortcutUpdate", Qt::WindowShortcut, clickOf("cmdUpdate"));
    shortcut(QKeySequence(Qt::CTRL | Qt::Key_N), "shortcutNew", Qt::WindowShortcut, clickOf("cmdNew"));
    auto* esc = new QShortcut(QKeySequence(Qt::Key_Escape), this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
    esc->setObjectName("shortcutCancel");
    connect(esc, &QShortcut::activated, this, clickOf("cmdCancel"));
    shortcut(QKeySequence(Qt::ALT | Qt::Key_Down), "shortcutNext", Qt::WindowShortcut, [this] { step(1); });
    shortcut(QKeySequence(Qt::ALT | Qt::Key_Up), "shortcutPrevious", Qt::WindowShortcut, [this] { step(-1); });
    shortcut(QKeySequence(Qt::CTRL | Qt::Key_PageDown), "shortcutNextPage", Qt::WindowShortcut,
             [this] { setCurrentIndex((currentIndex() + 1) % count()); });
    shortcut(QKeySequence(Qt::CTRL | Qt::Key_PageUp), "shortcutPreviousPage", Qt::WindowShortcut,
             [this] { setCurrentIndex((currentIndex() + count() - 1) % count()); });
    // The tree's click changes the store; what New may do follows once the tree has read it.
    connect(window.tree(), &QTreeWidget::currentItemChanged, this, [this] { enablePLUButtons(); },
            Qt::QueuedConnection);
    enablePLUButtons();
}

void PluEditor::step(int direction) {
    if (window_ && window_->askSavePLU() == 3) return;
    emit stepRequested(direction);
}

void PluEditor::setCaptions() {
    const auto* sec = state_.lang.find("frmMain_sstab");
    auto text = [&](const char* key) {
        const std::string* v = sec ? sec->find(key) : nullptr;
        return v ? qs(*v) : QString(key);
    };
    for (int i = 0; i < count() && i < static_cast<int>(pageDefs().size()); ++i) setTabText(i, text(pageDefs()[i].key));
    for (const auto& c : captions_) {
        if (auto* l = qobject_cast<QLabel*>(c.widget)) l->setText(text(c.key));
        else if (auto* b = qobject_cast<QAbstractButton*>(c.widget)) b->setText(text(c.key));
    }
    grid_->setHorizontalHeaderLabels({text("MainTabNutriItem"), text("MainTabNutriValue"), text("MainTabNutriUnit"),
                                      text("MainTabNutriPercent")});
    const QString keys = tr("Enter, F2");
    for (const char* n : {"txtName", "meditIngredient", "meditSMG"}) controls_.at(n)->setToolTip(keys);
    if (window_) {
        const std::pair<const char*, const char*> tips[] = {
            {"cmdNew", "Ctrl+N"}, {"cmdUpdate", "Ctrl+S"}, {"cmdCancel", "Esc"}};
        for (const auto& [name, keysText] : tips)
            if (QPushButton* b = window_->button(name)) b->setToolTip(b->text() + " (" + keysText + ")");
    }
    // The lists in the language of the run, keeping what is chosen.
    refreshContext();
    const PluFields f = fields();
    const bool was = filling_;
    filling_ = true;
    fillCombosFor(f);
    const QString unit = qs(unitCaption(ctx_, f.chkWeighed));
    qobject_cast<QLabel*>(controls_.at("lblTareUnit"))->setText(unit);
    qobject_cast<QLabel*>(controls_.at("lblQtyUnit"))->setText(unit);
    for (int i = 0; i < grid_->rowCount() && i < static_cast<int>(hidden_.GridNutri.rows.size()); ++i) {
        const auto& cell = hidden_.GridNutri.rows[static_cast<size_t>(i)];
        if (auto* it = grid_->item(i, kNutriCaption)) it->setText(qs(nutritionCaption(ctx_, cell)));
        if (auto* it = grid_->item(i, kNutriUnit)) it->setText(qs(nutritionUnit(ctx_, cell)));
    }
    filling_ = was;
    applyDiscountState();
}

void PluEditor::refreshContext() {
    ctx_.settings.PriceDecimals = state_.settings.PriceDecimals;
    ctx_.settings.WeightDecimals = state_.settings.WeightDecimals;
    ctx_.settings.DecimalSign = state_.settings.DecimalSign();
    ctx_.settings.CountryIndex = state_.settings.CountryIndex;
    ctx_.settings.DateTypeIndex = state_.settings.DateTypeIndex;
    ctx_.env = state_.codecEnvironment();
    ctx_.lang = &state_.lang;
    ctx_.currentStore = state_.currentStore;
    ctx_.currentSection = state_.currentSection;
    ctx_.mainGroups.clear();
    ctx_.flexiFormats.clear();
    if (!state_.Conn || !state_.Conn->isOpen()) {
        inheritance_.reset();
        flexi_.reset();
        sourcesDb_ = nullptr;
        return;
    }
    if (sourcesDb_ != state_.Conn.get()) {
        sourcesDb_ = state_.Conn.get();
        inheritance_ = std::make_unique<store::DbInheritance>(*state_.Conn);
        flexi_ = std::make_unique<store::DbFlexi>(*state_.Conn);
    }
    ctx_.env.inheritance = inheritance_.get();
    ctx_.env.flexiBarcodes = flexi_.get();
    // The main groups of the row's store (a new row belongs to the store chosen in the tree).
    const int64_t store = active_ && !isNew_ ? num(row_.ST_No) : state_.currentStore;
    ctx_.mainGroups = loadMainGroups(*state_.Conn, store);
    ctx_.flexiFormats = loadFlexiFormats(*state_.Conn);
}

QWidget* PluEditor::control(const QString& name) const {
    auto it = controls_.find(name);
    return it != controls_.end() ? it->second : nullptr;
}

bool PluEditor::isNumberControl(const QString& name) const {
    const ControlInfo* c = findControl(name.toStdString());
    if (!c || c->kind != ControlKind::Edit || name == "txtMBar" || name == "meditDepartment") return false;
    return true;
}

bool PluEditor::keyAllowed(const QString& name, const QString& text) const {
    for (QChar ch : text) {
        if (name == "meditDiscDayOfWeek") {
            if (ch != '0' && ch != '1') return false;
        } else if ((name == "meditTemp1" || name == "meditTemp2") && ch == '-') {
            continue;
        } else if (!ch.isDigit() || ch.unicode() > 127) {
            return false;
        }
    }
    return true;
}

bool PluEditor::eventFilter(QObject* watched, QEvent* event) {
    auto* e = qobject_cast<QLineEdit*>(watched);
    if (!e) return QTabWidget::eventFilter(watched, event);
    const QString name = e->objectName();
    const bool block = name == "txtName" || name == "meditIngredient" || name == "meditSMG";
    if (event->type() == QEvent::KeyPress) {
        auto* k = static_cast<QKeyEvent*>(event);
        if (block && (k->key() == Qt::Key_Return || k->key() == Qt::Key_Enter || k->key() == Qt::Key_F2) &&
            !(k->modifiers() & (Qt::ControlModifier | Qt::AltModifier))) {
            editBlock(name == "txtName" ? 3 : name == "meditIngredient" ? 1 : 2);
            return true;
        }
        // Keys outside the control's class are swallowed; editing and moving keys pass.
        if (isNumberControl(name) && !(k->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) &&
            !k->text().isEmpty() && k->text().at(0).isPrint() && !keyAllowed(name, k->text()))
            return true;
    } else if (event->type() == QEvent::FocusIn && isNumberControl(name) && !e->isReadOnly()) {
        // The sign goes while typing: the digits are read as they stand and scaled on leaving.
        const auto lim = controlLimit(ctx_, name.toStdString());
        if (lim && lim->places > 0) {
            filling_ = true;
            e->setText(e->text().remove(qs(ctx_.settings.DecimalSign)));
            filling_ = false;
        }
        QTimer::singleShot(0, e, [e] { e->selectAll(); });
    }
    return QTabWidget::eventFilter(watched, event);
}

void PluEditor::numberFocusOut(QLineEdit* e) {
    const QString name = e->objectName();
    const auto lim = controlLimit(ctx_, name.toStdString());
    QString t = e->text();
    const QString sign = qs(ctx_.settings.DecimalSign);
    if (name == "meditTemp1" || name == "meditTemp2" || name == "meditItemCode" || name == "meditDiscDayOfWeek" ||
        name.startsWith("meditFlagCode"))
        return;
    if (t.size() > 1 && t[0] == '0' && t.mid(1, sign.size()) != sign) t = t.mid(1);
    if (lim) {
        if (auto v = parseScaled(t.toStdString(), lim->places, ctx_.settings.DecimalSign))
            t = qs(formatScaled(*v, lim->places, ctx_.settings.DecimalSign));
    }
    if (t != e->text()) {
        filling_ = true;
        e->setText(t);
        filling_ = false;
        onEdited();
    }
}

PluFields PluEditor::fields() const {
    PluFields f = hidden_;
    for (const auto& c : pluControls()) {
        QWidget* w = control(c.name);
        if (!w) continue;
        switch (c.kind) {
            case ControlKind::Edit:
            case ControlKind::TextBlock: {
                std::string t = qobject_cast<QLineEdit*>(w)->text().toStdString();
                // A number reads as the save reads it, whether or not the sign is shown yet.
                if (c.kind == ControlKind::Edit && isNumberControl(c.name)) {
                    const auto lim = controlLimit(ctx_, c.name);
                    if (lim && lim->places > 0)
                        if (auto v = parseScaled(t, lim->places, ctx_.settings.DecimalSign))
                            t = formatScaled(*v, lim->places, ctx_.settings.DecimalSign);
                }
                f.*c.text = t;
                break;
            }
            case ControlKind::Check: f.*c.check = qobject_cast<QCheckBox*>(w)->isChecked(); break;
            case ControlKind::Combo: f.*c.combo = qobject_cast<QComboBox*>(w)->currentIndex(); break;
            case ControlKind::Time:
                f.*c.text = qobject_cast<QDateTimeEdit*>(w)->time().toString("HH:mm").toStdString();
                break;
            case ControlKind::Date:
                f.*c.text = qobject_cast<QDateTimeEdit*>(w)->date().toString("yyyy-MM-dd").toStdString();
                break;
            case ControlKind::Grid:
                for (int i = 0; i < grid_->rowCount() && i < static_cast<int>(f.GridNutri.rows.size()); ++i) {
                    auto& cell = f.GridNutri.rows[static_cast<size_t>(i)];
                    if (auto* it = grid_->item(i, kNutriValue)) cell.value = it->text().toStdString();
                    if (cell.hasPercent)
                        if (auto* it = grid_->item(i, kNutriPercent)) cell.percent = it->text().toStdString();
                }
                break;
        }
    }
    return f;
}

void PluEditor::fillCombo(const char* name, const ComboEntries& entries, int index) {
    auto* c = qobject_cast<QComboBox*>(controls_.at(name));
    c->clear();
    for (const auto& e : entries) c->addItem(qs(e.text), QVariant::fromValue<qlonglong>(e.value));
    c->setCurrentIndex(index >= 0 && index < c->count() ? index : (c->count() ? 0 : -1));
}

void PluEditor::fillCombosFor(const PluFields& f) {
    // A row value that no entry stands for comes back as the extra entry at its index.
    auto rowValue = [&](std::string_view n) -> int64_t {
        if (n == "combSymbol") return f.chkWeighed ? num(row_.Stat1_PBPreUnit) : num(row_.PLU_QTYSymbol);
        if (n == "combMG") return num(row_.PLU_MG);
        if (n == "combLabelFormat1") return num(row_.PLU_LBFormat1);
        if (n == "combLabelFormat2") return num(row_.PLU_LBFormat2);
        if (n == "combBarcodeFormat") return num(row_.PLU_BarFormat);
        if (n == "combBarCode") return num(row_.PLU_EANLastByte);
        if (n == "combDiscType") return num(row_.PLU_Disc_Type);
        if (n == "combMarkdownType") return num(row_.PLU_Disc_Markdown);
        return 0;
    };
    for (const auto& c : pluControls()) {
        if (c.kind != ControlKind::Combo) continue;
        const int index = f.*c.combo;
        ComboEntries e = baseComboEntries(ctx_, f, c.name);
        if (index >= static_cast<int>(e.size())) e = comboEntries(ctx_, f, c.name, rowValue(c.name), nullptr);
        fillCombo(c.name, e, index);
    }
    qobject_cast<QLineEdit*>(controls_.at("txtMBar"))->setMaxLength(multiBarcodeMaxLength(f.CombBarTypeC));
}

void PluEditor::setFields(const PluFields& f) {
    filling_ = true;
    hidden_ = f;
    fillCombosFor(f);
    for (const auto& c : pluControls()) {
        QWidget* w = control(c.name);
        if (!w) continue;
        switch (c.kind) {
            case ControlKind::Edit:
            case ControlKind::TextBlock: {
                auto* e = qobject_cast<QLineEdit*>(w);
                e->setText(qs(f.*c.text));
                e->setCursorPosition(0);  // a long text shows its beginning
                break;
            }
            case ControlKind::Check: qobject_cast<QCheckBox*>(w)->setChecked(f.*c.check); break;
            case ControlKind::Time:
                qobject_cast<QDateTimeEdit*>(w)->setTime(QTime::fromString(qs(f.*c.text), "HH:mm"));
                break;
            case ControlKind::Date: {
                auto* d = qobject_cast<QDateTimeEdit*>(w);
                d->setDisplayFormat(qs(std::string(dateDisplayFormat(ctx_.settings.DateTypeIndex))));
                d->setDate(QDate::fromString(qs(f.*c.text), "yyyy-MM-dd"));
                break;
            }
            case ControlKind::Combo:
            case ControlKind::Grid: break;
        }
    }
    grid_->setRowCount(0);
    grid_->setRowCount(static_cast<int>(f.GridNutri.rows.size()));
    for (int i = 0; i < grid_->rowCount(); ++i) {
        const auto& cell = f.GridNutri.rows[static_cast<size_t>(i)];
        auto fixed = [](const QString& t) {
            auto* it = new QTableWidgetItem(t);
            it->setFlags(it->flags() & ~Qt::ItemIsEditable);
            return it;
        };
        grid_->setItem(i, kNutriCaption, fixed(qs(nutritionCaption(ctx_, cell))));
        grid_->setItem(i, kNutriValue, new QTableWidgetItem(qs(cell.value)));
        grid_->setItem(i, kNutriUnit, fixed(qs(nutritionUnit(ctx_, cell))));
        grid_->setItem(i, kNutriPercent, cell.hasPercent ? new QTableWidgetItem(qs(cell.percent)) : fixed(QString()));
    }
    mbarIndex_ = f.CombMBar;
    const QString unit = qs(unitCaption(ctx_, f.chkWeighed));
    qobject_cast<QLabel*>(controls_.at("lblTareUnit"))->setText(unit);
    qobject_cast<QLabel*>(controls_.at("lblQtyUnit"))->setText(unit);
    filling_ = false;
    applyBarcodeControls();
    applyDiscountState();
    updatePreview();
}

int64_t PluEditor::lastByteShown() const {
    auto* kind = qobject_cast<QComboBox*>(controls_.at("CombBarType"));
    auto* byte = qobject_cast<QComboBox*>(controls_.at("combBarCode"));
    const int64_t v = byte->currentData().toLongLong();
    const bool extra = byte->currentIndex() >= 0 && byte->currentIndex() == byte->count() - 1 &&
                       byte->currentText().contains(qs(state_.text("frmMain_sstab", "MainTabNotInList")));
    return extra ? v : kind->currentIndex() * 10 + v;
}

void PluEditor::applyBarcodeControls() {
    if (!ctx_.env.codePage) return;
    auto* format = qobject_cast<QComboBox*>(controls_.at("combBarcodeFormat"));
    auto* item = qobject_cast<QLineEdit*>(controls_.at("meditItemCode"));
    auto* f1 = qobject_cast<QLineEdit*>(controls_.at("meditFlagCode1"));
    auto* f2 = qobject_cast<QLineEdit*>(controls_.at("meditFlagCode2"));
    const BarcodeControls bc = showBarcodeControls(ctx_, format->currentData().toLongLong(), lastByteShown(),
                                                   item->text().toStdString(), row_, f1->text().toStdString(),
                                                   f2->text().toStdString());
    const bool was = filling_;
    filling_ = true;
    f1->setText(qs(bc.flag1.text));
    f2->setText(qs(bc.flag2.text));
    f1->setEnabled(bc.flag1.enabled);
    f2->setEnabled(bc.flag2.enabled);
    f1->setMaxLength(std::max(1, bc.flag1.length));
    f2->setMaxLength(std::max(1, bc.flag2.length));
    item->setEnabled(bc.itemEnabled);
    if (item->text() != qs(bc.itemText)) item->setText(qs(bc.itemText));
    item->setMaxLength(bc.itemDigits > 0 ? bc.itemDigits : 10);
    item->setToolTip(qs(bc.error));
    filling_ = was;
}

void PluEditor::updatePreview() {
    if (!active_ || !ctx_.env.codePage) {
        preview_->clear();
        return;
    }
    preview_->setText(qs(barcodePreview(ctx_, fields(), row_)));
}

QString PluEditor::barcodePreviewText() const { return preview_->text(); }

void PluEditor::applyDiscountState() {
    auto* type = qobject_cast<QComboBox*>(controls_.at("combDiscType"));
    const DiscountControls dc = discountControls(std::max(0, type->currentIndex()));
    controls_.at("meditDiscLimit1")->setEnabled(dc.limit1);
    controls_.at("meditDiscLmtPer1")->setEnabled(dc.lmtPer1);
    controls_.at("meditDiscLimit2")->setEnabled(dc.limit2);
    controls_.at("meditDiscLmtPer2")->setEnabled(dc.lmtPer2);
    controls_.at("combMarkdownType")->setEnabled(dc.markdown);
    for (const char* n : {"DTPickerStartDate", "DTPickerEndDate", "DTPickerStartTime", "DTPickerEndTime"})
        controls_.at(n)->setEnabled(dc.pickers);
    controls_.at("lblDiscLmtPerSym1")->setVisible(dc.percentSymbols);
    controls_.at("lblDiscLmtPerSym2")->setVisible(dc.percentSymbols);
    if (auto* l = findChild<QLabel*>("lblDiscLmtPer1"))
        l->setText(qs(state_.text("frmMain_sstab", dc.lmtPer1CaptionKey.empty() ? "MainTabDiscAmt1"
                                                                                : dc.lmtPer1CaptionKey)));
}

void PluEditor::onEdited() {
    if (filling_) return;
    if (active_ && !readOnly_) setPluChanged(!(fields() == shown_));
    enablePLUButtons();
    updatePreview();
}

void PluEditor::setPluChanged(bool on) { state_.pluChanged = on; }

void PluEditor::enablePLUButtons() {
    if (isNew_ != newRowTold_) {
        newRowTold_ = isNew_;
        emit newRowChanged(isNew_);
    }
    const bool editable = active_ && !readOnly_;
    for (int i = 0; i < count(); ++i) widget(i)->setEnabled(editable);
    if (!window_) return;
    const bool store = state_.currentStore > 0 && state_.Conn && state_.Conn->isOpen();
    window_->setCommandEnabled("cmdNew", store && !readOnly_);
    window_->setCommandEnabled("cmdEdit", rowid_ > 0 && !isNew_ && !readOnly_);
    window_->setCommandEnabled("cmdUpdate", editable && (isNew_ || state_.pluChanged));
    window_->setCommandEnabled("cmdCancel", editable && (isNew_ || state_.pluChanged));
}

void PluEditor::setReadOnly(bool on) {
    readOnly_ = on;
    if (on) setPluChanged(false);
    enablePLUButtons();
}

void PluEditor::clear() {
    active_ = false;
    isNew_ = false;
    rowid_ = 0;
    row_ = codec::PluRow{};
    refreshContext();
    setFields(clearPLUControls(ctx_));
    shown_ = fields();
    setPluChanged(false);
    enablePLUButtons();
}

bool PluEditor::showRow(int64_t rowid) { return showRowOf("KVR_25", rowid); }

bool PluEditor::showRowOf(const std::string& table, int64_t rowid) {
    if (!state_.Conn || !state_.Conn->isOpen()) return false;
    store::Recordset rs(*state_.Conn, "select * from " + table + " where rowid=" + std::to_string(rowid));
    if (rs.recordCount() == 0) {
        clear();
        return false;
    }
    rs.moveFirst();
    row_ = readPluRow(rs);
    rowid_ = rowid;
    isNew_ = false;
    active_ = true;
    refreshContext();
    setFields(showPluData(ctx_, row_));
    shown_ = fields();
    setPluChanged(false);
    enablePLUButtons();
    return true;
}

int64_t PluEditor::offeredNumber() {
    // The number after the store's highest; at the top of the range the lowest free one.
    const std::string st = std::to_string(state_.currentStore);
    auto& s = state_.Conn->cached("SELECT max(PLU_No) FROM KVR_25 WHERE ST_No=" + st);
    int64_t next = s.step() ? s.columnInt(0) + 1 : 1;
    s.reset();
    if (next < 1) next = 1;
    if (next <= 99999999) return next;
    auto& g = state_.Conn->cached(
        "SELECT min(a.PLU_No + 1) FROM KVR_25 a WHERE a.ST_No=" + st +
        " AND a.PLU_No < 99999999 AND NOT EXISTS (SELECT 1 FROM KVR_25 b WHERE b.ST_No=a.ST_No AND b.PLU_No=a.PLU_No+1)");
    next = g.step() ? g.columnInt(0) : 0;
    g.reset();
    return next > 0 ? next : 1;
}

void PluEditor::cmdNew() {
    if (readOnly_ || !state_.Conn) return;
    if (window_ && window_->askSavePLU() == 3) return;
    isNew_ = true;
    active_ = true;
    refreshContext();
    store::Recordset rs(*state_.Conn, "select * from KVR_25 where 0");
    rs.addNew();
    row_ = readPluRow(rs);
    rs.cancelUpdate();
    PluFields f = clearPLUControls(ctx_);
    f.meditPLU = std::to_string(offeredNumber());
    setFields(f);
    shown_ = fields();
    setPluChanged(false);
    enablePLUButtons();
    setCurrentIndex(0);
    focusControl("meditPLU");
}

void PluEditor::startCopy(int64_t sourceRowId) {
    if (readOnly_ || !state_.Conn || !showRow(sourceRowId)) return;
    isNew_ = true;
    copying_ = true;
    enablePLUButtons();
    setCurrentIndex(0);
    focusControl("meditPLU");
}

void PluEditor::cmdEdit() {
    if (readOnly_ || rowid_ <= 0) return;
    if (window_ && window_->askSavePLU() == 3) return;
    showRow(rowid_);
    const auto& order = tabOrder()[static_cast<size_t>(std::max(0, currentIndex()))];
    // The PLU number is the key: editing starts on the first value after it.
    focusControl(currentIndex() == 0 && order.size() > 1 ? order[1] : order.front());
}

void PluEditor::cmdCancel() {
    isNew_ = false;
    copying_ = false;
    setPluChanged(false);
    if (rowid_ > 0) showRow(rowid_);
    else clear();
}

void PluEditor::focusControl(const QString& name) {
    QWidget* w = control(name);
    if (!w) return;
    for (int i = 0; i < count(); ++i)
        if (widget(i)->isAncestorOf(w)) setCurrentIndex(i);
    w->setFocus(Qt::OtherFocusReason);
    if (auto* e = qobject_cast<QLineEdit*>(w)) e->selectAll();
}

bool PluEditor::showInputError(const InputError& e) {
    QString text = qs(inputErrorMessage(ctx_, e));
    shell::Messages::show(text, shell::MsgIcon::Stop, shell::MsgButtons::Ok, this);
    focusControl(qs(e.control));
    if (e.control == "GridNutri")
        for (int i = 0; i < static_cast<int>(hidden_.GridNutri.rows.size()); ++i)
            if (hidden_.GridNutri.rows[static_cast<size_t>(i)].key == e.detail) grid_->setCurrentCell(i, kNutriValue);
    return false;
}

bool PluEditor::updatePLU() {
    if (!active_ || readOnly_ || !state_.Conn) return false;
    const PluFields f = fields();
    auto& db = *state_.Conn;
    // The copy flag lets one save past the overlap test, and goes down with the test.
    const bool copy = std::exchange(copying_, false);
    if (!copy && checkPLUOverlap(db, f.meditPLU, isNew_ ? state_.currentStore : num(row_.ST_No), isNew_,
                                 num(row_.PLU_No), false)) {
        shell::Messages::key(state_, "overlap", shell::MsgIcon::Stop, shell::MsgButtons::Ok, this);
        focusControl("meditPLU");
        return false;
    }
    store::Recordset rs(db, isNew_ ? std::string("select * from KVR_25 where 0")
                                   : "select * from KVR_25 where rowid=" + std::to_string(rowid_));
    codec::PluRow row;
    if (isNew_) {
        rs.addNew();
        row = readPluRow(rs);
    } else {
        if (rs.recordCount() == 0) {
            shell::Messages::show(qs(state_.text("msgbox", "pluNotSaved")).arg(qs(f.meditPLU), "KVR_25: no row"),
                                  shell::MsgIcon::Stop, shell::MsgButtons::Ok, this);
            return false;
        }
        rs.moveFirst();
        row = readPluRow(rs);
    }
    const SaveResult r = savePLU(ctx_, f, row, isNew_);
    if (r.inputError) return showInputError(*r.inputError);
    if (!r.failure.empty()) {
        shell::Messages::show(qs(state_.text("msgbox", "pluNotSaved")).arg(qs(f.meditPLU), qs(r.failure)),
                              shell::MsgIcon::Stop, shell::MsgButtons::Ok, this);
        return false;
    }
    int64_t id = rowid_;
    try {
        if (isNew_) writeWholeRow(rs, row);
        else writePluRow(rs, row);
        rs.update();
        if (isNew_) id = sqlite3_last_insert_rowid(db.handle());
    } catch (const std::exception& e) {
        // The row stays as it was; the typed data stays on screen.
        rs.cancelUpdate();
        shell::Messages::show(qs(state_.text("msgbox", "pluNotSaved")).arg(qs(f.meditPLU), QString::fromUtf8(e.what())),
                              shell::MsgIcon::Stop, shell::MsgButtons::Ok, this);
        return false;
    }
    const int page = currentIndex();
    isNew_ = false;
    showRow(id);
    setCurrentIndex(page);
    emit rowSaved(id);
    return true;
}

void PluEditor::editBlock(int kind) {
    if (!active_ || readOnly_) return;
    const codec::Bytes& block =
        kind == 3 ? hidden_.commodityBlock : kind == 1 ? hidden_.ingredientBlock : hidden_.spMessageBlock;
    auto result = scalefiles::editTextBlock(state_, kind, block, this);
    if (!result) return;
    blockText(kind, *result);
}

void PluEditor::blockText(int kind, const codec::Bytes& block) {
    codec::Bytes& target =
        kind == 3 ? hidden_.commodityBlock : kind == 1 ? hidden_.ingredientBlock : hidden_.spMessageBlock;
    target = block;
    const char* name = kind == 3 ? "txtName" : kind == 1 ? "meditIngredient" : "meditSMG";
    std::string first;
    if (ctx_.env.codePage) first = codec::firstLine(block, codec::FirstLineVariant::Editor, *ctx_.env.codePage);
    filling_ = true;
    qobject_cast<QLineEdit*>(controls_.at(name))->setText(qs(first));
    filling_ = false;
    onEdited();
}

}  // namespace brindale::plu::ui
