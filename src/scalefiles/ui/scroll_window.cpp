#include <algorithm>
#include "shell/form_scaling.h"

#include "scalefiles/ui/scroll_window.h"

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QVBoxLayout>

#include "codec/code_page.h"
#include "shell/messages.h"
#include "shell/program_state.h"
#include "store/database.h"

namespace brindale::scalefiles {

namespace {

QString qs(const std::string& s) { return QString::fromStdString(s); }

// The cell editor txtGrid: numbers take digits only, at most eight; texts at most 255 characters
// (the byte count is checked on save, where the code page is known).
// Every change goes into the cell as it is typed: the delegate's own commit on Return waits for
// the event loop, and a save run before it (a click, or the dialog's default button taking that
// Return) would read the cell's old text.
class CellEditor : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex& index) const override {
        auto* e = new QLineEdit(parent);
        e->setObjectName("txtGrid");
        if (index.column() == 0) {
            e->setValidator(new QRegularExpressionValidator(QRegularExpression("[0-9]{0,8}"), e));
            e->setMaxLength(8);
        } else {
            e->setMaxLength(static_cast<int>(kScrollMessageMaxText));
        }
        auto* self = const_cast<CellEditor*>(this);
        connect(e, &QLineEdit::textEdited, self, [self, e] { emit self->commitData(e); });
        return e;
    }
};

const codec::CodePage& pageOf(const shell::ProgramState& state) {
    if (state.codePage) return *state.codePage;
    static const codec::CodePage system = codec::CodePage::forSystem();
    return system;
}

}  // namespace

FrmScrollMSG::FrmScrollMSG(shell::ProgramState& state, Runner runner, QWidget* parent)
    : QDialog(parent), state_(state), runner_(std::move(runner)) {
    setObjectName("frmScrollMSG");
    setModal(true);
    setWindowTitle(text("frmScrollMSG"));

    grid_ = new QTableWidget(kScrollGridRows, 2, this);
    grid_->setObjectName("gridScrollMsg");
    grid_->setHorizontalHeaderLabels(text("gridScrollMsg").split('|'));
    grid_->horizontalHeader()->setStretchLastSection(true);
    grid_->setItemDelegate(new CellEditor(grid_));
    grid_->setMinimumWidth(420);

    auto* lblSeqNum = new QLabel(text("lblSeqNum"), this);
    lblSeqNum->setObjectName("lblSeqNum");
    combSeqNum_ = new QComboBox(this);
    combSeqNum_->setObjectName("combSeqNum");
    for (int i = 1; i <= kScrollSequences; ++i) combSeqNum_->addItem(QString::number(i));
    auto* frameSeq = new QGroupBox(text("frameSeq"), this);
    frameSeq->setObjectName("frameSeq");
    auto* steps = new QGridLayout(frameSeq);
    const char* headings[] = {"lblMSGNo", "lblPattern", "lblSpeed"};
    for (int c = 0; c < 3; ++c) {
        auto* l = new QLabel(text(headings[c]), frameSeq);
        l->setObjectName(headings[c]);
        steps->addWidget(l, 0, c);
    }
    for (int i = 0; i < 3; ++i) {
        combMSGNo_[i] = new QComboBox(frameSeq);
        combMSGNo_[i]->setObjectName("combMSGNo");
        combMSGNo_[i]->setProperty("step", i);
        combPattern_[i] = new QComboBox(frameSeq);
        combPattern_[i]->setObjectName("combPattern");
        for (const char* k : {"combPLS", "combPB", "combPS", "combPRS", "combPWI"}) combPattern_[i]->addItem(text(k));
        combSpeed_[i] = new QComboBox(frameSeq);
        combSpeed_[i]->setObjectName("combSpeed");
        for (const char* k : {"combSS", "combSN", "combSF"}) combSpeed_[i]->addItem(text(k));
        steps->addWidget(combMSGNo_[i], i + 1, 0);
        steps->addWidget(combPattern_[i], i + 1, 1);
        steps->addWidget(combSpeed_[i], i + 1, 2);
    }
    auto mk = [this](const char* name, const char* key) {
        auto* b = new QPushButton(text(key), this);
        b->setObjectName(name);
        return b;
    };
    auto* cmdSaveM = mk("cmdSaveM", "cmdSave");
    auto* cmdDownloadM = mk("cmdDownloadM", "cmdDownload");
    auto* cmdSaveS = mk("cmdSaveS", "cmdSave");
    auto* cmdDownloadS = mk("cmdDownloadS", "cmdDownload");
    auto* cmdClose = mk("cmdClose", "cmdClose");

    auto* left = new QVBoxLayout;
    left->addWidget(grid_, 1);
    auto* mButtons = new QHBoxLayout;
    mButtons->addWidget(cmdSaveM);
    mButtons->addWidget(cmdDownloadM);
    mButtons->addStretch(1);
    left->addLayout(mButtons);
    auto* right = new QVBoxLayout;
    auto* seq = new QHBoxLayout;
    seq->addWidget(lblSeqNum);
    seq->addWidget(combSeqNum_);
    seq->addStretch(1);
    right->addLayout(seq);
    right->addWidget(frameSeq);
    auto* sButtons = new QHBoxLayout;
    sButtons->addWidget(cmdSaveS);
    sButtons->addWidget(cmdDownloadS);
    sButtons->addStretch(1);
    right->addLayout(sButtons);
    right->addStretch(1);
    auto* closeRow = new QHBoxLayout;
    closeRow->addStretch(1);
    closeRow->addWidget(cmdClose);
    right->addLayout(closeRow);
    auto* h = new QHBoxLayout(this);
    h->addLayout(left, 1);
    h->addLayout(right);

    resize(780, 430);  // all ten rows of the grid in view
    fillGrid();
    fillMessageLists();
    showSequence();
    connect(combSeqNum_, &QComboBox::currentIndexChanged, this, &FrmScrollMSG::showSequence);
    connect(cmdSaveM, &QPushButton::clicked, this, [this] { this->cmdSaveM(); });
    connect(cmdSaveS, &QPushButton::clicked, this, [this] { this->cmdSaveS(); });
    connect(cmdDownloadM, &QPushButton::clicked, this, [this] {
        if (runner_) runner_(Command::DownloadMessages, combSeqNum_->currentIndex() + 1, [this] { return this->cmdSaveM(); });
    });
    connect(cmdDownloadS, &QPushButton::clicked, this, [this] {
        if (runner_) runner_(Command::DownloadSequence, combSeqNum_->currentIndex() + 1, [this] { return this->cmdSaveS(); });
    });
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::reject);
    // The system language's character set on every control.
    shell::prepareForm(this);
}

QString FrmScrollMSG::text(const char* key) const { return qs(state_.text("frm_ScrollMSG", key)); }

void FrmScrollMSG::fillGrid() {
    const auto rows = loadScrollMessages(*state_.Conn);
    // Ten rows as a rule; a table that holds more (from another program's mirror) shows them all,
    // since the save writes the grid's rows in place of the table's.
    grid_->setRowCount(std::max(kScrollGridRows, static_cast<int>(rows.size())));
    for (int r = 0; r < grid_->rowCount(); ++r) {
        const bool has = r < static_cast<int>(rows.size());
        grid_->setItem(r, 0, new QTableWidgetItem(has ? qs(rows[static_cast<std::size_t>(r)].number) : QString()));
        grid_->setItem(r, 1, new QTableWidgetItem(has ? qs(rows[static_cast<std::size_t>(r)].text) : QString()));
    }
}

void FrmScrollMSG::fillMessageLists() {
    const auto rows = loadScrollMessages(*state_.Conn);
    for (auto* c : combMSGNo_) {
        const int keep = c->currentIndex();
        c->blockSignals(true);
        c->clear();
        c->addItem("none");
        for (const auto& r : rows) c->addItem(qs(r.number));
        c->setCurrentIndex(keep < 0 || keep >= c->count() ? 0 : keep);
        c->blockSignals(false);
    }
}

std::vector<ScrollGridRow> FrmScrollMSG::gridRows() const {
    std::vector<ScrollGridRow> rows;
    for (int r = 0; r < grid_->rowCount(); ++r) {
        auto cell = [&](int c) { return grid_->item(r, c) ? grid_->item(r, c)->text().toStdString() : std::string(); };
        rows.push_back({cell(0), cell(1)});
    }
    return rows;
}

bool FrmScrollMSG::cmdSaveM() {
    const auto problem = saveScrollMessages(*state_.Conn, gridRows(), pageOf(state_));
    if (!problem.reason.empty()) {
        if (!problem.rows.empty()) grid_->setCurrentCell(problem.rows.back(), 0);
        shell::Messages::show(qs(problem.reason), shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return false;
    }
    fillMessageLists();
    return true;
}

bool FrmScrollMSG::cmdSaveS() {
    ScrollSequenceRecord s;
    s.number = static_cast<uint32_t>(combSeqNum_->currentIndex() + 1);
    for (std::size_t i = 0; i < 3; ++i)
        s.steps[i] = ScrollStep{combMSGNo_[i]->currentIndex(), combPattern_[i]->currentIndex(),
                                combSpeed_[i]->currentIndex()};
    const std::string why = saveScrollSequence(*state_.Conn, s);
    if (!why.empty()) {
        shell::Messages::show(qs(why), shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, this);
        return false;
    }
    return true;
}

void FrmScrollMSG::showSequence() {
    const auto s = loadScrollSequence(*state_.Conn, static_cast<uint32_t>(combSeqNum_->currentIndex() + 1));
    for (std::size_t i = 0; i < 3; ++i) {
        const auto& st = s.steps[i];
        combMSGNo_[i]->setCurrentIndex(st.message < combMSGNo_[i]->count() ? st.message : 0);
        combPattern_[i]->setCurrentIndex(st.pattern);
        combSpeed_[i]->setCurrentIndex(st.speed);
    }
}

}  // namespace brindale::scalefiles
