#pragma once
// frmReportFormat: one report format edited line by line on the left, one report sequence of ten
// format numbers on the right, each with its preview as printed. Formats go to KVR_AA and
// sequences to KVR_AB on their save buttons; the send buttons run the editor's two transfer
// flows through the runner the window is given.
#include <QDialog>
#include <QImage>
#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "reportformat/report_format.h"
#include "reportformat/report_store.h"
#include "reportformat/ui/preview.h"
#include "transfer/flows.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollBar;
class QTableWidget;

namespace brindale::shell {
struct ProgramState;
}

namespace brindale::reportformat::ui {

class PreviewCanvas;

class FrmReportFormat : public QDialog {
    Q_OBJECT
public:
    // Runs a flow with the program's context (MainTransfers::run in the program).
    using Runner = std::function<transfer::FlowOutcome(transfer::Flow, transfer::FlowHooks)>;

    FrmReportFormat(shell::ProgramState& state, Runner runner, QWidget* parent = nullptr);
    ~FrmReportFormat() override;

    // The working state, read by tests.
    const std::vector<std::string>& lineText() const { return LineText; }  // UTF-8
    const std::vector<uint8_t>& lineFont() const { return LineFont; }
    int lineCount() const { return static_cast<int>(LineText.size()); }
    int formatSaved() const { return FormatSaved; }
    int seqSaved() const { return SeqSaved; }
    int lastTypeNo() const { return LastTypeNo; }
    int gridRow() const { return GridRow; }
    const std::optional<Bytes>& formatData() const { return FormatData; }
    const QImage& formatPreview() const { return formatImage_; }
    const QImage& sequencePreview() const { return sequenceImage_; }
    int sequenceLabels() const { return sequenceLabels_; }
    // The texts of the format preview as drawn (tests read what an operator would read).
    std::vector<QString> formatPreviewTexts() const;
    std::vector<QString> sequencePreviewTexts() const;

    // Lays txtGrid (column 1) or CobFont (column 2) over a cell, as a click does.
    void editCell(int row, int column);

    // The buttons.
    void cmdAppend();
    void cmdInsert();
    void cmdDelete();
    bool cmdSaveFN();
    bool cmdSaveSN();
    transfer::FlowOutcome cmdDownloadFN();
    transfer::FlowOutcome cmdDownloadSN();

    // The previews, drawn anew.
    void DisplayReport();
    void DisplayReportSeqAny();  // DisplayReportSeq or DisplayReportSeqL by print type

protected:
    void closeEvent(QCloseEvent* event) override;
    void reject() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QString text(const char* key) const;
    const codec::CodePage& page() const;
    std::vector<std::string> sectionValues(const std::string& section) const;
    int scaleType() const;
    int limitOf(uint8_t font) const;
    QString fontName(uint8_t code) const;

    void buildWidgets();
    void fillLists();
    void setCaptions();

    void loadFormat(int number);
    void loadSequence(int number);
    void fillGrid();
    void fillRow(int row);
    void refreshButtons();
    void fillItems(int typePosition);
    void applyStatus(int position, bool cut);
    FormatFields formatFields() const;
    SequenceFields sequenceFields() const;
    bool askSaveAll();

    void onFormatNo(int index);
    void onSeqNo(int index);
    void onType(int index);
    void onStatus(int index);
    void onPrintType(int index);
    void onTxtGrid(const QString& typed);
    void onFont(int index);
    void onItem(int index);
    void closeCell();
    void markFormatChanged();
    void markSeqChanged();

    void DisplayReportSeq();
    void DisplayReportSeqL();
    std::vector<PreviewLine> previewLines(const std::vector<Line>& lines) const;
    std::vector<PreviewBlock> sequenceBlocks() const;
    void showFormatImage(QImage img);
    void showSequenceImage(QImage img);
    double zoom() const;

    shell::ProgramState& state_;
    Runner runner_;
    ReportCatalogue catalogue_;

    // The working state.
    std::vector<std::string> LineText;
    std::vector<uint8_t> LineFont;
    std::optional<Bytes> FormatData;
    int FormatSaved = 1;
    int SeqSaved = 1;
    int LastFormatNo = 0;
    int LastSeqNo = 0;
    int LastTypeNo = 0;
    int GridRow = 0;
    int GridCol = 1;

    bool loading_ = false;
    int editingRow_ = -1;  // the row txtGrid is open on
    int fontRow_ = -1;     // the row CobFont is open on
    QString accepted_;     // txtGrid's last text within the limit

    QImage formatImage_, sequenceImage_;
    int sequenceLabels_ = 0;

    // Format half.
    QComboBox *comboRptFormatNo_, *comboRptFormatType_, *comboRptFormatStatus_, *comboRptFormatItem_;
    QLineEdit *txtStartNo_, *txtEndNo_, *txtConditionNo_;
    QTableWidget* gridString_;
    QLineEdit* txtGrid_;
    QComboBox* CobFont_;
    QPushButton *cmdAppend_, *cmdInsert_, *cmdDelete_, *cmdSaveFN_, *cmdDownloadFN_;
    PreviewCanvas* picDisplayReport_;
    QScrollBar* VScrollDisplayReport_;
    // Sequence half.
    QComboBox *comboRptFormatSeqNo_, *comboResetRpt_, *comboPrintType_;
    std::array<QLineEdit*, kSequenceSlots> txtSeqNo_{};
    QCheckBox* chkpassword_;
    QLineEdit* txtLabelHeight_;
    QLabel *labLabelHeight_, *labMM_;
    QPushButton *cmdSaveSN_, *cmdDownloadSN_;
    PreviewCanvas* picDisplayReportSeq_;
    QScrollBar* VScrollDisplayReportSeq_;
    // Both previews.
    QCheckBox* chkNames_;
    QComboBox* comboZoom_;
    std::vector<std::pair<QLabel*, const char*>> captions_;
};

}  // namespace brindale::reportformat::ui
