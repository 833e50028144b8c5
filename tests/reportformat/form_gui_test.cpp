// frmReportFormat offscreen, by control name: the opening, typing under the limit, placeholders at
// the caret, the font cut, the line buttons, the questions of the lists, the reset rule on save and
// on send, the closing question, damaged and bad stored input, the previews.
#include <QScrollBar>
#include <QTest>

#include "form_support.h"
#include "reportformat/report_store.h"
#include "shell/lifecycle.h"
#include "store/recordset.h"

using namespace brindale;
using namespace brindale::testing;
using namespace brindale::reportformat;
using reportformat::ui::FrmReportFormat;

namespace {

void typeInto(FrmReportFormat& f, int row, const QString& text) {
    if (!f.isVisible()) {
        f.show();
        f.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&f));
    }
    f.editCell(row, 1);
    ASSERT_TRUE(txtGrid(&f)->isVisible());
    txtGrid(&f)->end(false);
    QTest::keyClicks(txtGrid(&f), text);
}

// The index of a placeholder number in the item list of a type.
int itemOf(const FormState& s, int typePosition, const std::string& number) {
    const auto* t = s.state.lang.find(reportTypes()[static_cast<size_t>(typePosition)].numberList);
    for (size_t i = 0; i < t->size(); ++i)
        if (t->valueAt(i) == number) return static_cast<int>(i);
    ADD_FAILURE() << number;
    return -1;
}

store::Value cell(FormState& s, const std::string& sql) {
    auto st = s.db().prepare(sql);
    EXPECT_TRUE(st->step()) << sql;
    return st->column(0);
}

void saveFormat(FormState& s, int number, int typePosition, std::vector<Line> lines = {}) {
    FormatFields f;
    f.typePosition = typePosition;
    if (!lines.empty()) f.data = buildLineStream(lines);
    ASSERT_TRUE(SaveRptData(s.db(), number, f).ok());
}

}  // namespace

TEST(ReportFormatGui, OpensWithEveryControlByNameTheListsAndCaptions) {
    FormState s;
    Answers a;
    FrmReportFormat f(s.state, s.runner());
    EXPECT_EQ(f.objectName(), "frmReportFormat");
    EXPECT_EQ(f.windowTitle().toStdString(), s.text("frm_ReportFormat", "frmTitle"));
    for (const char* n : {"comboRptFormatNo", "comboRptFormatType", "comboRptFormatStatus", "comboRptFormatItem",
                          "CobFont", "comboRptFormatSeqNo", "comboResetRpt", "comboPrintType", "comboZoom"})
        EXPECT_NE(f.findChild<QComboBox*>(n), nullptr) << n;
    for (const char* n : {"txtStartNo", "txtEndNo", "txtConditionNo", "txtGrid", "txtLabelHeight"})
        EXPECT_NE(f.findChild<QLineEdit*>(n), nullptr) << n;
    for (int k = 0; k < 10; ++k) EXPECT_NE(f.findChild<QLineEdit*>(QString("txtSeqNo_%1").arg(k)), nullptr) << k;
    for (const char* n : {"cmdAppend", "cmdInsert", "cmdDelete", "cmdSaveFN", "cmdDownloadFN", "cmdSaveSN", "cmdDownloadSN"})
        EXPECT_NE(f.findChild<QPushButton*>(n), nullptr) << n;
    for (const char* n : {"picDisplayReport", "picDisplayReportSeq", "VScrollDisplayReport", "VScrollDisplayReportSeq",
                          "gridString", "chkpassword", "chkNames", "labLabelHeight", "labMM"})
        EXPECT_NE(f.findChild<QWidget*>(n), nullptr) << n;
    // Captions by key.
    EXPECT_EQ(cmd(&f, "cmdAppend")->text().toStdString(), s.text("frm_ReportFormat", "cmdAppend"));
    EXPECT_EQ(cmd(&f, "cmdSaveFN")->text().toStdString(), s.text("frm_ReportFormat", "cmdSave"));
    EXPECT_EQ(cmd(&f, "cmdDownloadSN")->text().toStdString(), s.text("frm_ReportFormat", "cmdDownload"));
    EXPECT_EQ(child<QCheckBox>(&f, "chkpassword")->text().toStdString(), s.text("frm_ReportFormat", "chkpassword"));
    for (const char* key : {"lblrptformatNo", "lblStartNo", "lblEndNo", "lblItem", "lblrptformatseqNo", "lblReset",
                            "lblPrintType", "lblSeq", "lblType", "lblStatus", "lblCondition", "lblPreview",
                            "lblSeqPreview", "labLabelHeight", "labMM"})
        EXPECT_EQ(child<QLabel>(&f, key)->text().toStdString(), s.text("frm_ReportFormat", key)) << key;
    // The lists.
    EXPECT_EQ(combo(&f, "comboRptFormatNo")->count(), 99);
    EXPECT_EQ(combo(&f, "comboRptFormatSeqNo")->count(), 99);
    EXPECT_EQ(combo(&f, "comboRptFormatType")->count(), 16);
    EXPECT_EQ(combo(&f, "comboRptFormatStatus")->count(), 3);
    EXPECT_EQ(combo(&f, "comboResetRpt")->count(), 4);
    EXPECT_EQ(combo(&f, "comboPrintType")->count(), 2);
    EXPECT_EQ(combo(&f, "comboRptFormatItem")->count(), 3);  // the Text type's items
    EXPECT_EQ(cobFont(&f)->count(), 10);
    // Format 1 and sequence 1 do not exist: the reset fields, one empty line in the default font.
    EXPECT_EQ(f.lineCount(), 1);
    EXPECT_EQ(f.lineText()[0], "");
    EXPECT_EQ(f.lineFont()[0], 3);
    EXPECT_EQ(grid(&f)->item(0, 2)->text(), "S4");
    EXPECT_EQ(edit(&f, "txtStartNo")->text(), "0");
    EXPECT_FALSE(edit(&f, "txtStartNo")->isEnabled());
    EXPECT_FALSE(edit(&f, "txtConditionNo")->isEnabled());
    EXPECT_EQ(edit(&f, "txtLabelHeight")->text(), "40");
    EXPECT_FALSE(edit(&f, "txtLabelHeight")->isVisibleTo(&f));
    EXPECT_EQ(edit(&f, "txtSeqNo_9")->text(), "0");
    EXPECT_EQ(f.formatSaved(), 1);
    EXPECT_EQ(f.seqSaved(), 1);
    EXPECT_FALSE(f.formatPreview().isNull());
    EXPECT_TRUE(a.shown.empty());
}

TEST(ReportFormatGui, TheFontListFollowsTheScaleModel) {
    for (auto [model, count, def] : {std::tuple{3, 4, "G5"}, std::tuple{4, 4, "B5"}, std::tuple{37, 3, "T1"}}) {
        FormState s("CP1252", model);
        FrmReportFormat f(s.state, s.runner());
        EXPECT_EQ(cobFont(&f)->count(), count);
        EXPECT_EQ(grid(&f)->item(0, 2)->text().toStdString(), def);
    }
}

TEST(ReportFormatGui, ALineAtItsLimitTakesNoFurtherCharacter) {
    FormState s;
    FrmReportFormat f(s.state, s.runner());
    typeInto(f, 0, QString(48, 'A'));
    EXPECT_EQ(f.lineText()[0], std::string(48, 'A'));
    QTest::keyClicks(txtGrid(&f), "BC");
    EXPECT_EQ(f.lineText()[0], std::string(48, 'A'));
    EXPECT_EQ(txtGrid(&f)->text(), QString(48, 'A'));
    // Backspace edits as usual, then one more fits.
    QTest::keyClick(txtGrid(&f), Qt::Key_Backspace);
    EXPECT_EQ(f.lineText()[0], std::string(47, 'A'));
    QTest::keyClicks(txtGrid(&f), "Z");
    EXPECT_EQ(f.lineText()[0], std::string(47, 'A') + "Z");
    EXPECT_EQ(f.formatSaved(), 0);
    EXPECT_EQ(grid(&f)->item(0, 1)->text().toStdString(), std::string(47, 'A') + "Z");
}

TEST(ReportFormatGui, TheLimitCountsBytesOfTheDoubleBytePage) {
    FormState s("GBK", 3);  // G2 is a 16-byte font
    FrmReportFormat f(s.state, s.runner());
    f.editCell(0, 2);
    cobFont(&f)->setCurrentIndex(0);
    ASSERT_EQ(f.lineFont()[0], 23);
    typeInto(f, 0, "");
    // Chinese text comes through the input method: inserted at the caret.
    for (int k = 0; k < 7; ++k) txtGrid(&f)->insert(QString::fromUtf8("\u79E4"));
    QTest::keyClicks(txtGrid(&f), "a");
    EXPECT_EQ(f.lineText()[0], "\u79E4\u79E4\u79E4\u79E4\u79E4\u79E4\u79E4a");
    txtGrid(&f)->insert(QString::fromUtf8("\u79E4"));  // 17 bytes: refused
    EXPECT_EQ(f.lineText()[0], "\u79E4\u79E4\u79E4\u79E4\u79E4\u79E4\u79E4a");
    QTest::keyClicks(txtGrid(&f), "b");
    EXPECT_EQ(f.lineText()[0], "\u79E4\u79E4\u79E4\u79E4\u79E4\u79E4\u79E4ab");
}

TEST(ReportFormatGui, ControlCharactersNeverEnterALine) {
    FormState s;
    FrmReportFormat f(s.state, s.runner());
    typeInto(f, 0, "AB");
    // Pasted or set text: the control characters are dropped, the rest stays.
    txtGrid(&f)->insert(QString("x\ty\x01z\r\n"));
    EXPECT_EQ(f.lineText()[0], "ABxyz");
    QTest::keyClick(txtGrid(&f), Qt::Key_Tab);
    EXPECT_EQ(f.lineText()[0].find('\t'), std::string::npos);
    txtGrid(&f)->setCursorPosition(0);
    QTest::keyClick(txtGrid(&f), Qt::Key_Delete);
    EXPECT_EQ(f.lineText()[0], "Bxyz");
}

TEST(ReportFormatGui, APlaceholderGoesInAtTheCaretAndCountsWithItsSample) {
    FormState s;
    Answers a;
    FrmReportFormat f(s.state, s.runner());
    combo(&f, "comboRptFormatType")->setCurrentIndex(1);  // PLU daily
    typeInto(f, 0, "AB");
    txtGrid(&f)->setCursorPosition(1);
    const int name = itemOf(s, 1, "3002");
    combo(&f, "comboRptFormatItem")->setCurrentIndex(name);
    emit combo(&f, "comboRptFormatItem")->activated(name);
    EXPECT_EQ(f.lineText()[0], "A%%(3002)B");
    EXPECT_EQ(txtGrid(&f)->cursorPosition(), 9);
    // 32 bytes as printed: 16 more fit, the 17th does not.
    txtGrid(&f)->end(false);
    QTest::keyClicks(txtGrid(&f), QString(16, 'c'));
    EXPECT_EQ(f.lineText()[0], "A%%(3002)B" + std::string(16, 'c'));
    QTest::keyClicks(txtGrid(&f), "d");
    EXPECT_EQ(f.lineText()[0], "A%%(3002)B" + std::string(16, 'c'));
    // A placeholder past the limit is refused.
    const int counter = itemOf(s, 1, "1001");
    emit combo(&f, "comboRptFormatItem")->activated(counter);
    EXPECT_EQ(f.lineText()[0], "A%%(3002)B" + std::string(16, 'c'));
    // In a 24-byte font 3002 does not fit at all.
    cmd(&f, "cmdAppend")->click();
    f.editCell(1, 2);
    cobFont(&f)->setCurrentIndex(5);  // M1, 24
    f.editCell(1, 1);
    emit combo(&f, "comboRptFormatItem")->activated(name);
    EXPECT_EQ(f.lineText()[1], "");
    emit combo(&f, "comboRptFormatItem")->activated(counter);
    EXPECT_EQ(f.lineText()[1], "%%(1001)");
    EXPECT_TRUE(a.shown.empty());
}

TEST(ReportFormatGui, NothingIsInsertedUnlessACellIsOpen) {
    FormState s;
    FrmReportFormat f(s.state, s.runner());
    emit combo(&f, "comboRptFormatItem")->activated(0);
    EXPECT_EQ(f.lineText()[0], "");
    EXPECT_EQ(f.formatSaved(), 1);
}

TEST(ReportFormatGui, AFontChangeCutsAtAWholeCharacterAndKeepsPlaceholdersWhole) {
    FormState s;
    Answers a;
    FrmReportFormat f(s.state, s.runner());
    combo(&f, "comboRptFormatType")->setCurrentIndex(1);
    typeInto(f, 0, "AB%%(3002)CD");  // 34 bytes as printed
    typeInto(f, 0, "");
    cmd(&f, "cmdAppend")->click();
    typeInto(f, 1, "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789");
    f.editCell(0, 2);
    cobFont(&f)->setCurrentIndex(5);  // M1: 24 bytes
    EXPECT_EQ(f.lineText()[0], "AB");
    EXPECT_EQ(f.lineFont()[0], 5);
    EXPECT_EQ(grid(&f)->item(0, 2)->text(), "M1");
    f.editCell(1, 2);
    cobFont(&f)->setCurrentIndex(9);  // M5: 16 bytes
    EXPECT_EQ(f.lineText()[1], "ABCDEFGHIJKLMNOP");
    EXPECT_EQ(grid(&f)->item(1, 1)->text(), "ABCDEFGHIJKLMNOP");
    // A wider font cuts nothing.
    f.editCell(1, 2);
    cobFont(&f)->setCurrentIndex(0);
    EXPECT_EQ(f.lineText()[1], "ABCDEFGHIJKLMNOP");
}

TEST(ReportFormatGui, TheLineButtonsAtOneAndAtFiftyLines) {
    FormState s;
    FrmReportFormat f(s.state, s.runner());
    EXPECT_FALSE(cmd(&f, "cmdAppend")->isEnabled());  // the last line is empty
    EXPECT_TRUE(cmd(&f, "cmdInsert")->isEnabled());
    EXPECT_FALSE(cmd(&f, "cmdDelete")->isEnabled());  // one empty line
    typeInto(f, 0, "L1");
    EXPECT_TRUE(cmd(&f, "cmdAppend")->isEnabled());
    EXPECT_TRUE(cmd(&f, "cmdDelete")->isEnabled());
    f.editCell(0, 2);
    cobFont(&f)->setCurrentIndex(6);
    for (int n = 2; n <= 50; ++n) {
        cmd(&f, "cmdAppend")->click();
        ASSERT_EQ(f.lineCount(), n);
        EXPECT_EQ(f.lineFont()[static_cast<size_t>(n - 1)], 6);  // the previous line's font
        EXPECT_TRUE(txtGrid(&f)->isVisible());
        QTest::keyClicks(txtGrid(&f), QString("L%1").arg(n));
    }
    EXPECT_EQ(grid(&f)->rowCount(), 50);
    EXPECT_FALSE(cmd(&f, "cmdAppend")->isEnabled());
    EXPECT_FALSE(cmd(&f, "cmdInsert")->isEnabled());
    f.cmdAppend();
    f.cmdInsert();
    EXPECT_EQ(f.lineCount(), 50);
    // Delete the third line: the others move up.
    grid(&f)->setCurrentCell(2, 1);
    f.editCell(2, 1);
    cmd(&f, "cmdDelete")->click();
    EXPECT_EQ(f.lineCount(), 49);
    EXPECT_EQ(f.lineText()[2], "L4");
    EXPECT_EQ(grid(&f)->item(2, 0)->text(), "3");
    EXPECT_TRUE(cmd(&f, "cmdInsert")->isEnabled());
    // Insert above the current line.
    f.editCell(1, 1);
    cmd(&f, "cmdInsert")->click();
    EXPECT_EQ(f.lineCount(), 50);
    EXPECT_EQ(f.lineText()[1], "");
    EXPECT_EQ(f.lineText()[2], "L2");
    EXPECT_FALSE(cmd(&f, "cmdInsert")->isEnabled());
    // Down to one line, whose text the last delete empties.
    while (f.lineCount() > 1) {
        f.editCell(0, 1);
        cmd(&f, "cmdDelete")->click();
    }
    EXPECT_EQ(f.lineText()[0], "L50");
    EXPECT_TRUE(cmd(&f, "cmdDelete")->isEnabled());
    cmd(&f, "cmdDelete")->click();
    EXPECT_EQ(f.lineText()[0], "");
    EXPECT_FALSE(cmd(&f, "cmdDelete")->isEnabled());
    EXPECT_EQ(f.formatSaved(), 0);
}

TEST(ReportFormatGui, ATypeChangeAsksWhenLineOneHasTextAndClearsTheLines) {
    FormState s;
    Answers a;
    FrmReportFormat f(s.state, s.runner());
    // Without text: no question.
    combo(&f, "comboRptFormatType")->setCurrentIndex(4);
    EXPECT_TRUE(a.shown.empty());
    EXPECT_TRUE(edit(&f, "txtStartNo")->isEnabled());
    EXPECT_EQ(f.lastTypeNo(), 4);
    typeInto(f, 0, "DEPT");
    cmd(&f, "cmdAppend")->click();
    typeInto(f, 1, "X");
    a.yesNo = shell::MsgResult::No;
    combo(&f, "comboRptFormatType")->setCurrentIndex(13);
    ASSERT_EQ(a.texts(), std::vector<std::string>{s.text("msgbox", "rptformattype")});
    EXPECT_EQ(combo(&f, "comboRptFormatType")->currentIndex(), 4);
    EXPECT_EQ(f.lineCount(), 2);
    EXPECT_EQ(f.lastTypeNo(), 4);
    a.yesNo = shell::MsgResult::Yes;
    combo(&f, "comboRptFormatType")->setCurrentIndex(13);
    EXPECT_EQ(f.lineCount(), 1);
    EXPECT_EQ(f.lineText()[0], "");
    EXPECT_EQ(f.lineFont()[0], 3);
    EXPECT_FALSE(f.formatData());
    EXPECT_FALSE(txtGrid(&f)->isVisible());
    EXPECT_FALSE(edit(&f, "txtStartNo")->isEnabled());
    EXPECT_FALSE(edit(&f, "txtEndNo")->isEnabled());
    EXPECT_EQ(f.lastTypeNo(), 13);
    EXPECT_EQ(f.formatSaved(), 0);
    EXPECT_EQ(combo(&f, "comboRptFormatItem")->count(),
              static_cast<int>(s.state.lang.find("Reportformat_Salesdaily")->size()));
}

TEST(ReportFormatGui, FormatNumberChangeAnsweredYesAndNo) {
    FormState s;
    Answers a;
    saveFormat(s, 2, 4, {{3, "SECOND"}});
    FrmReportFormat f(s.state, s.runner());
    typeInto(f, 0, "FIRST");
    a.yesNo = shell::MsgResult::No;
    combo(&f, "comboRptFormatNo")->setCurrentIndex(1);
    EXPECT_EQ(a.texts(), std::vector<std::string>{s.text("msgbox", "rptformatsave")});
    EXPECT_EQ(combo(&f, "comboRptFormatNo")->currentIndex(), 0);
    EXPECT_EQ(f.lineText()[0], "FIRST");
    a.yesNo = shell::MsgResult::Yes;
    combo(&f, "comboRptFormatNo")->setCurrentIndex(1);
    EXPECT_EQ(f.lineText()[0], "SECOND");
    EXPECT_EQ(combo(&f, "comboRptFormatType")->currentIndex(), 4);
    EXPECT_EQ(f.formatSaved(), 1);
    EXPECT_EQ(cell(s, "SELECT COUNT(*) FROM KVR_AA").toInt(), 1);  // the first was not saved
    // Saved: no question.
    a.shown.clear();
    combo(&f, "comboRptFormatNo")->setCurrentIndex(2);
    EXPECT_TRUE(a.shown.empty());
}

TEST(ReportFormatGui, SequenceNumberChangeAnsweredYesAndNo) {
    FormState s;
    Answers a;
    SequenceFields seq;
    seq.seqNo[0] = "5";
    seq.password = true;
    ASSERT_TRUE(SaveRptSeq(s.db(), 3, seq).ok());
    FrmReportFormat f(s.state, s.runner());
    edit(&f, "txtSeqNo_0")->setFocus();
    QTest::keyClicks(edit(&f, "txtSeqNo_0"), "7");
    EXPECT_EQ(f.seqSaved(), 0);
    a.yesNo = shell::MsgResult::No;
    combo(&f, "comboRptFormatSeqNo")->setCurrentIndex(2);
    EXPECT_EQ(a.texts(), std::vector<std::string>{s.text("msgbox", "rptformatseqsave")});
    EXPECT_EQ(combo(&f, "comboRptFormatSeqNo")->currentIndex(), 0);
    a.yesNo = shell::MsgResult::Yes;
    combo(&f, "comboRptFormatSeqNo")->setCurrentIndex(2);
    EXPECT_EQ(edit(&f, "txtSeqNo_0")->text(), "5");
    EXPECT_TRUE(child<QCheckBox>(&f, "chkpassword")->isChecked());
    EXPECT_EQ(f.seqSaved(), 1);
    child<QCheckBox>(&f, "chkpassword")->setChecked(false);
    EXPECT_EQ(f.seqSaved(), 0);
}

TEST(ReportFormatGui, NumberFieldsTakeDigitsOnlyAndTheStatusLimitsTheCondition) {
    FormState s;
    FrmReportFormat f(s.state, s.runner());
    combo(&f, "comboRptFormatType")->setCurrentIndex(1);
    f.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&f));
    // Entering a number field selects its content, so that typing replaces it.
    edit(&f, "txtEndNo")->setText("77");
    edit(&f, "txtEndNo")->setFocus();
    QTest::qWait(20);
    EXPECT_EQ(edit(&f, "txtEndNo")->selectedText(), "77");
    QLineEdit* start = edit(&f, "txtStartNo");
    start->setFocus();
    start->selectAll();
    QTest::keyClicks(start, "12a3-4567890");
    EXPECT_EQ(start->text(), "12345678");
    combo(&f, "comboRptFormatStatus")->setCurrentIndex(1);
    QLineEdit* cond = edit(&f, "txtConditionNo");
    EXPECT_TRUE(cond->isEnabled());
    cond->selectAll();
    QTest::keyClicks(cond, "98765");
    EXPECT_EQ(cond->text(), "987");
    combo(&f, "comboRptFormatStatus")->setCurrentIndex(2);
    EXPECT_EQ(cond->text(), "98");
    combo(&f, "comboRptFormatStatus")->setCurrentIndex(0);
    EXPECT_EQ(cond->text(), "0");
    EXPECT_FALSE(cond->isEnabled());
    EXPECT_EQ(f.formatSaved(), 0);
}

TEST(ReportFormatGui, SavingAFormatWhoseOnlyLineIsEmptyStoresNullData) {
    FormState s;
    FrmReportFormat f(s.state, s.runner());
    combo(&f, "comboRptFormatType")->setCurrentIndex(2);
    ASSERT_TRUE(f.cmdSaveFN());
    EXPECT_TRUE(cell(s, "SELECT Data FROM KVR_AA WHERE Code = 1").isNull());
    const auto rec = cell(s, "SELECT KVRBinData FROM KVR_AA WHERE Code = 1").bytes();
    ASSERT_EQ(rec.size(), 35u);
    EXPECT_EQ(std::vector<uint8_t>(rec.begin() + 32, rec.end()), (std::vector<uint8_t>{3, 0, 0x0C}));
    EXPECT_EQ(f.formatSaved(), 1);
    // With text the stream is the lines'.
    typeInto(f, 0, "AB");
    cmd(&f, "cmdAppend")->click();
    f.editCell(1, 2);
    cobFont(&f)->setCurrentIndex(5);
    cmd(&f, "cmdSaveFN")->click();
    EXPECT_EQ(cell(s, "SELECT Data FROM KVR_AA WHERE Code = 1").bytes(),
              (std::vector<uint8_t>{3, 2, 'A', 'B', 0x0D, 5, 1, ' ', 0x0C}));
    EXPECT_EQ(cell(s, "SELECT Type FROM KVR_AA WHERE Code = 1").toInt(), 51);
}

TEST(ReportFormatGui, AStoredFontTheModelLacksOpensInTheDefaultAndIsSavedAsIt) {
    FormState s("CP1252", 3);
    saveFormat(s, 1, 0, {{9, "NINE"}, {21, "G4"}});
    FrmReportFormat f(s.state, s.runner());
    ASSERT_EQ(f.lineCount(), 2);
    EXPECT_EQ(f.lineFont()[0], 24);
    EXPECT_EQ(grid(&f)->item(0, 2)->text(), "G5");
    EXPECT_EQ(f.lineFont()[1], 21);
    f.editCell(0, 2);
    EXPECT_EQ(cobFont(&f)->currentIndex(), 3);
    ASSERT_TRUE(f.cmdSaveFN());
    EXPECT_EQ(cell(s, "SELECT Data FROM KVR_AA WHERE Code = 1").bytes()[0], 24);
}

TEST(ReportFormatGui, TheResetRuleRefusesTheSaveWithAWarning) {
    FormState s;
    Answers a;
    saveFormat(s, 1, 1, {{3, "DAILY"}});  // PLU daily
    FrmReportFormat f(s.state, s.runner());
    edit(&f, "txtSeqNo_0")->setText("1");
    combo(&f, "comboResetRpt")->setCurrentIndex(2);
    EXPECT_FALSE(f.cmdSaveSN());
    ASSERT_EQ(a.shown.size(), 1u);
    EXPECT_EQ(a.shown[0].text.toStdString(), s.text("msgbox", "rptformatresettype"));
    EXPECT_EQ(a.shown[0].icon, shell::MsgIcon::Exclamation);
    EXPECT_EQ(cell(s, "SELECT COUNT(*) FROM KVR_AB").toInt(), 0);
    EXPECT_EQ(f.seqSaved(), 0);
    combo(&f, "comboResetRpt")->setCurrentIndex(1);
    cmd(&f, "cmdSaveSN")->click();
    EXPECT_EQ(f.seqSaved(), 1);
    EXPECT_EQ(cell(s, "SELECT Resetreport FROM KVR_AB WHERE Code = 1").toInt(), 1);
}

TEST(ReportFormatGui, TheResetRuleIsCheckedAgainOverEverySequenceBeforeTheSend) {
    FormState s;
    Answers a;
    saveFormat(s, 1, 1, {{3, "DAILY"}});
    SequenceFields ok;
    ok.seqNo[0] = "1";
    ASSERT_TRUE(SaveRptSeq(s.db(), 1, ok).ok());
    FrmReportFormat f(s.state, s.runner());
    EXPECT_EQ(f.cmdDownloadSN().end, transfer::FlowEnd::Transferred);
    // A sequence that breaks the rule, written around the window (an older run, a hand edit).
    s.db().exec("INSERT INTO KVR_AB (Code, Sequence1, Resetreport, Status) VALUES (9, 1, 2, 1)");
    EXPECT_EQ(f.cmdDownloadSN().end, transfer::FlowEnd::Declined);
    EXPECT_TRUE(a.said(s.text("msgbox", "rptformatresettype")));
    EXPECT_EQ(s.ran, std::vector<transfer::Flow>{transfer::Flow::ReportFormatSN});
    // The formats' send has no such check.
    EXPECT_EQ(f.cmdDownloadFN().end, transfer::FlowEnd::Transferred);
}

TEST(ReportFormatGui, SendingUnsavedChangesAsksFirst) {
    FormState s;
    Answers a;
    FrmReportFormat f(s.state, s.runner());
    typeInto(f, 0, "X");
    a.yesNo = shell::MsgResult::No;
    EXPECT_EQ(f.cmdDownloadFN().end, transfer::FlowEnd::Declined);
    EXPECT_EQ(a.texts(), std::vector<std::string>{s.text("msgbox", "rptformatallsave")});
    EXPECT_TRUE(s.ran.empty());
    a.yesNo = shell::MsgResult::Yes;
    EXPECT_EQ(f.cmdDownloadFN().end, transfer::FlowEnd::Transferred);
    // The sequence half is saved: its send does not ask.
    a.shown.clear();
    EXPECT_EQ(f.cmdDownloadSN().end, transfer::FlowEnd::Transferred);
    EXPECT_TRUE(a.shown.empty());
}

TEST(ReportFormatGui, ASequenceOfAFormatThatDoesNotExistSavesWithoutAWord) {
    FormState s;
    Answers a;
    FrmReportFormat f(s.state, s.runner());
    edit(&f, "txtSeqNo_3")->setText("55");
    combo(&f, "comboResetRpt")->setCurrentIndex(3);
    EXPECT_TRUE(f.cmdSaveSN());
    EXPECT_TRUE(a.shown.empty());
    EXPECT_EQ(cell(s, "SELECT Sequence4 FROM KVR_AB WHERE Code = 1").toInt(), 55);
    // The preview says so in a grey line.
    f.DisplayReportSeqAny();
    EXPECT_EQ(f.sequencePreviewTexts(),
              std::vector<QString>{QString::fromStdString(shell::fillIn(s.text("frm_ReportFormat", "lblNoFormat"), {"55"}))});
}

TEST(ReportFormatGui, ClosingWithUnsavedChangesAsks) {
    FormState s;
    Answers a;
    FrmReportFormat f(s.state, s.runner());
    f.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&f));
    f.close();
    EXPECT_TRUE(a.shown.empty());  // nothing changed: no question
    f.show();
    typeInto(f, 0, "X");
    a.yesNo = shell::MsgResult::No;
    f.close();
    EXPECT_TRUE(f.isVisible());
    EXPECT_EQ(a.texts(), std::vector<std::string>{s.text("msgbox", "rptformatallsave")});
    a.yesNo = shell::MsgResult::Yes;
    f.close();
    EXPECT_FALSE(f.isVisible());
    // The sequence half counts too; Escape asks the same.
    f.show();
    child<QCheckBox>(&f, "chkpassword")->setChecked(true);
    a.yesNo = shell::MsgResult::No;
    a.shown.clear();
    QTest::keyClick(&f, Qt::Key_Escape);
    EXPECT_TRUE(f.isVisible());
    EXPECT_EQ(a.shown.size(), 1u);
}

TEST(ReportFormatGui, ADamagedStreamShowsTheLinesReadNamesFormatAndOffsetAndWritesNothing) {
    FormState s;
    Answers a;
    saveFormat(s, 1, 0, {{3, "OK"}});
    // Line 2 announces 9 bytes and runs past the end.
    const std::vector<uint8_t> damaged{3, 2, 'O', 'K', 0x0D, 3, 9, 'C', 0x0C};
    auto st = s.db().prepare("UPDATE KVR_AA SET Data = ? WHERE Code = 1");
    st->bind(1, store::Value(damaged));
    st->step();
    const auto before = cell(s, "SELECT KVRBinData FROM KVR_AA WHERE Code = 1").bytes();
    FrmReportFormat f(s.state, s.runner());
    ASSERT_EQ(a.shown.size(), 1u);
    EXPECT_EQ(a.shown[0].text.toStdString(), shell::fillIn(s.text("frm_ReportFormat", "rptDamaged"), {"1", "37"}));
    EXPECT_EQ(f.lineText(), std::vector<std::string>{"OK"});
    EXPECT_EQ(cell(s, "SELECT KVRBinData FROM KVR_AA WHERE Code = 1").bytes(), before);
    EXPECT_EQ(cell(s, "SELECT Data FROM KVR_AA WHERE Code = 1").bytes(), damaged);
    // A line over its font's limit, and more than 50 lines, are named the same way.
    std::vector<Line> over{{3, "fine"}, {9, std::string(17, 'x')}};
    saveFormat(s, 2, 0, over);
    std::vector<Line> many(51, Line{3, "n"});
    saveFormat(s, 3, 0, many);
    a.shown.clear();
    combo(&f, "comboRptFormatNo")->setCurrentIndex(1);
    ASSERT_EQ(a.shown.size(), 1u);
    EXPECT_EQ(a.shown[0].text.toStdString(), shell::fillIn(s.text("frm_ReportFormat", "rptDamaged"), {"2", "39"}));
    EXPECT_EQ(f.lineCount(), 2);
    combo(&f, "comboRptFormatNo")->setCurrentIndex(2);
    ASSERT_EQ(a.shown.size(), 2u);
    EXPECT_EQ(a.shown[1].text.toStdString(), shell::fillIn(s.text("frm_ReportFormat", "rptDamaged"), {"3", "232"}));
    EXPECT_EQ(f.lineCount(), 50);
}

TEST(ReportFormatGui, ANumberThatArrivesBadThroughTheDatabaseIsNamedAndNothingIsSaved) {
    FormState s;
    Answers a;
    saveFormat(s, 1, 4, {{3, "X"}});
    s.db().exec("UPDATE KVR_AA SET EndNo = 123456789 WHERE Code = 1");
    const auto before = cell(s, "SELECT KVRBinData FROM KVR_AA WHERE Code = 1").bytes();
    FrmReportFormat f(s.state, s.runner());
    EXPECT_FALSE(f.cmdSaveFN());
    ASSERT_EQ(a.shown.size(), 1u);
    EXPECT_EQ(a.shown[0].text.toStdString(),
              shell::fillIn(s.text("frm_ReportFormat", "rptBadNumber"), {"KVR_AA", "1", "EndNo", "123456789"}));
    EXPECT_EQ(cell(s, "SELECT KVRBinData FROM KVR_AA WHERE Code = 1").bytes(), before);
    EXPECT_EQ(f.formatSaved(), 1);
}

TEST(ReportFormatGui, ThePreviewsShowSamplesOrNamesAndTheLabelsByPrintType) {
    FormState s;
    Answers a;
    saveFormat(s, 1, 1, {{3, "PLU %%(3001)"}, {5, "%%(3002)"}});
    saveFormat(s, 2, 0, std::vector<Line>(30, Line{8, "BIG"}));  // 30 lines of 32 dots
    SequenceFields q;
    q.seqNo = {"1", "2", "0", "0", "0", "0", "0", "0", "0", "0"};
    ASSERT_TRUE(SaveRptSeq(s.db(), 1, q).ok());
    FrmReportFormat f(s.state, s.runner());
    EXPECT_EQ(f.formatPreviewTexts(), (std::vector<QString>{"PLU 000001", "COMMODITY NAME                "}));
    const auto seqTexts = f.sequencePreviewTexts();
    ASSERT_EQ(seqTexts.size(), 32u);
    EXPECT_EQ(seqTexts[0], "PLU 000001");
    child<QCheckBox>(&f, "chkNames")->setChecked(true);
    const std::string name = s.state.lang.find("Reportformat_PLUdaily")->valueAt(static_cast<size_t>(itemOf(s, 1, "3002")));
    EXPECT_EQ(f.formatPreviewTexts()[1].toStdString(), "[" + name + "]");
    EXPECT_EQ(f.sequencePreviewTexts()[1].toStdString(), "[" + name + "]");
    // The scroll bar runs over what the canvas cannot show.
    f.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&f));
    auto* bar = child<QScrollBar>(&f, "VScrollDisplayReportSeq");
    auto* canvas = child<QWidget>(&f, "picDisplayReportSeq");
    EXPECT_GT(bar->maximum(), 0);
    EXPECT_EQ(bar->maximum(), f.sequencePreview().height() - canvas->height());
    // Receipt: 384 dots and the margins wide at 100 %, twice that at 200 %.
    const int w100 = f.formatPreview().width();
    EXPECT_EQ(w100, 384 + 24);
    combo(&f, "comboZoom")->setCurrentIndex(4);
    EXPECT_EQ(f.formatPreview().width(), 2 * w100);
    combo(&f, "comboZoom")->setCurrentIndex(2);
    // Label mode: the label height shows; 40 mm = 320 dots take 10 lines of font 8, so format 2
    // needs three labels after format 1's one.
    combo(&f, "comboPrintType")->setCurrentIndex(1);
    EXPECT_TRUE(edit(&f, "txtLabelHeight")->isVisibleTo(&f));
    EXPECT_TRUE(child<QLabel>(&f, "labMM")->isVisibleTo(&f));
    EXPECT_EQ(f.sequenceLabels(), 4);
    edit(&f, "txtLabelHeight")->setText("120");
    EXPECT_EQ(f.sequenceLabels(), 2);
    combo(&f, "comboPrintType")->setCurrentIndex(0);
    EXPECT_FALSE(edit(&f, "txtLabelHeight")->isVisibleTo(&f));
    EXPECT_EQ(f.sequenceLabels(), 0);
    EXPECT_EQ(f.seqSaved(), 0);  // the print type is stored with the sequence
}

TEST(ReportPreview, ALineAtItsLimitFillsThePrintWidth) {
    using namespace brindale::reportformat::ui;
    for (int model : {1, 3, 4, 37})
        for (const auto& font : fontsFor(model))
            EXPECT_EQ(kBaseCellWidth * cellMultiple(font.code) * *lineLimit(font.code), kPrintDots) << font.name;
    EXPECT_EQ(cellMultiple(3), 1);
    EXPECT_EQ(cellMultiple(5), 2);
    EXPECT_EQ(cellMultiple(23), 3);
    EXPECT_EQ(cellMultiple(32), 4);
    EXPECT_EQ(cellMultiple(99), 1);
    // Heights by font: four lines of font 3 and one of font 32 make 4 x 16 + 64 dots of print.
    const QImage img = renderReceipt({PreviewBlock{{{"A", 3}, {"B", 3}, {"C", 3}, {"D", 3}, {"E", 32}}, {}}}, 1.0);
    EXPECT_EQ(img.height(), 4 * 16 + 64 + 2 * kMargin);
    EXPECT_EQ(img.width(), kPrintDots + 2 * kMargin);
    // Ink of a full line of font 32 reaches into its last cell and not beyond the print width.
    const QImage full = renderReceipt({PreviewBlock{{{QString(12, QChar('M')), 32}}, {}}}, 1.0);
    auto inkIn = [&](int x0, int x1) {
        for (int x = x0; x < x1; ++x)
            for (int y = kMargin + 2; y < kMargin + 60; ++y)
                if (qGray(full.pixel(x, y)) < 100) return true;
        return false;
    };
    EXPECT_TRUE(inkIn(kMargin + kPrintDots - 32, kMargin + kPrintDots - 2));
    EXPECT_FALSE(inkIn(kMargin + kPrintDots + 2, full.width()));
    // Labels of 40 mm: 320 dots each, 20 dots of backing paper between them.
    const LabelImage two = renderLabels({PreviewBlock{std::vector<PreviewLine>(11, PreviewLine{"x", 8}), {}}}, 40, 1.0, "next");
    EXPECT_EQ(two.labels, 2);
    EXPECT_EQ(two.image.height(), 2 * 320 + 20 + 2 * kMargin);
}
