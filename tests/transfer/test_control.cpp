#include <gtest/gtest.h>

#include "test_support.h"
#include "transfer/database.h"
#include "transfer/kvr_data_trans.h"
#include "transfer/language.h"
#include "transfer/net.h"

using namespace brindale::transfer;
using namespace brindale::transfer::testing;

TEST(Control, StoreAndSectionAboveAByteOverflow) {
    KVRDataTrans c;
    EXPECT_NO_THROW(c.setStoreNumber(255));
    EXPECT_EQ(c.StoreNumber(), 255);
    EXPECT_THROW(c.setStoreNumber(256), TransferOverflow);
    EXPECT_THROW(c.setSectionNumber(300), TransferOverflow);
    EXPECT_THROW(c.setSectionNumber(-1), TransferOverflow);
    // The failed set leaves the old value.
    EXPECT_EQ(c.StoreNumber(), 255);
    EXPECT_NO_THROW(c.setSectionNumber(0));
    // An overflow is an overflow_error, as the callers catch it.
    try {
        c.setStoreNumber(32767);
        FAIL() << "no throw";
    } catch (const std::overflow_error& e) {
        EXPECT_NE(std::string(e.what()).find("32767"), std::string::npos);
    }
}

TEST(Control, PropertiesKeepWhatIsSet) {
    KVRDataTrans c;
    c.setDatabasePath("x\\database\\Brindale1.mdb");
    c.setTransferMode(2);
    c.setTableList({"25", "20"});
    c.setLanguageText("Title=T");
    EXPECT_EQ(c.DatabasePath(), "x\\database\\Brindale1.mdb");
    EXPECT_EQ(c.TransferMode(), 2);
    EXPECT_EQ(c.TableList(), (std::vector<std::string>{"25", "20"}));
    EXPECT_EQ(c.LanguageText(), "Title=T");
}

TEST(Control, MissingDatabaseIsReportedWithItsPath) {
    TempDir dir;
    KVRDataTrans c;
    c.setDatabasePath(dir.path().string() + "\\database\\Brindale1.mdb");
    c.setStoreNumber(1);
    c.setTableList({"25"});
    EXPECT_EQ(c.StartTransfer(), 1);
    EXPECT_EQ(c.lastSummary().reason, FailReason::Database);
    EXPECT_NE(LanguageTexts().text(c.lastSummary().detail).find("Brindale1.mdb"), std::string::npos);
}

TEST(Control, UnknownModeIsRefusedBeforeAnyScale) {
    TempDir dir;
    TestDb db(dir.path());
    db.addScale("127.0.0.2", "A", 1, 1);
    KVRDataTrans c;
    c.setDatabasePath(db.givenPath());
    c.setStoreNumber(1);
    c.setTransferMode(3);
    c.StartTransfer();
    EXPECT_EQ(c.lastSummary().reason, FailReason::Rejected);
    EXPECT_TRUE(c.lastSummary().scales.empty());
}

TEST(Control, NoScaleInStoreIsReported) {
    TempDir dir;
    TestDb db(dir.path());
    db.addScale("127.0.0.2", "A", 2, 1);
    db.addScale("127.0.0.3", "B", 1, 1, /*used*/ 0);
    KVRDataTrans c;
    c.setDatabasePath(db.givenPath());
    c.setStoreNumber(1);
    c.setSectionNumber(0);
    c.StartTransfer();
    EXPECT_EQ(c.lastSummary().reason, FailReason::NoScale);
    const std::string text = summaryText(c.lastSummary(), LanguageTexts("ErrNoScale=Keine Waage"));
    EXPECT_EQ(text.rfind("Keine Waage", 0), 0u) << text;
}

TEST(DatabasePath, BackslashesAndFolderCaseAreResolved) {
    TempDir dir;
    TestDb db(dir.path());
    EXPECT_EQ(resolveDatabasePath(db.givenPath()), db.path());
    EXPECT_EQ(resolveDatabasePath(dir.path().string() + "\\DATABASE\\brindale1.MDB"), db.path());
    // A part that matches nothing is kept as given, so the error names it.
    EXPECT_NE(resolveDatabasePath(dir.path().string() + "\\nothing\\x.mdb").find("nothing/x.mdb"),
              std::string::npos);
}

TEST(Address, PaddedFormIsStripped) {
    std::string clean;
    ASSERT_TRUE(net::parseIPv4("192.168.  1. 20", clean));
    EXPECT_EQ(clean, "192.168.1.20");
    ASSERT_TRUE(net::parseIPv4("  0.  0.  0.  0", clean));
    EXPECT_EQ(clean, "0.0.0.0");
    EXPECT_FALSE(net::parseIPv4("256.  0.  0.  1", clean));
    EXPECT_FALSE(net::parseIPv4("1.2.3", clean));
    EXPECT_FALSE(net::parseIPv4("1.2.3.4.5", clean));
    EXPECT_FALSE(net::parseIPv4("", clean));
    EXPECT_FALSE(net::parseIPv4("a.b.c.d", clean));
    EXPECT_EQ(padAddress("127.0.0.2"), "127.  0.  0.  2");
}

TEST(Language, KeysAreReadFromLinesWithEnglishFallback) {
    LanguageTexts t("[ActX_KVR]\r\nTitle=Übertragung\r\n; comment\r\nsummarytext = %1 von %2, %3 Fehler\r\nbroken\n");
    EXPECT_EQ(t.get("Title"), "Übertragung");
    EXPECT_EQ(t.get("SummaryText"), "%1 von %2, %3 Fehler");
    EXPECT_EQ(t.get("Cancel"), "Cancel");  // missing: English
    EXPECT_FALSE(t.has("broken"));
    EXPECT_EQ(LanguageTexts::format(t.get("SummaryText"), {"2", "3", "1"}), "2 von 3, 1 Fehler");
    // Every key the window uses has an English text.
    for (const char* k : {"Title", "ColScale", "ColAddress", "ColState", "ColProgress", "Waiting", "Connecting",
                          "Sending", "Deleting", "Receiving", "Done", "Failed", "Cancelled", "Cancel", "Close",
                          "SummaryTitle", "SummaryText", "ErrRefused", "ErrTimeout", "ErrClosed", "ErrProtocol",
                          "ErrRejected", "ErrNoScale", "ErrDatabase", "Records", "ProgressText", "NoteNotIdentifier",
                          "NoteNotFetched", "NoteNoTable", "NoteNotSent", "NoteNoRecord", "NoteBadRecord",
                          "NoteNoNumber", "NoteNothingMarked", "DetailMode", "DetailRange", "DetailNoScale",
                          "DetailStopped"})
        EXPECT_EQ(LanguageTexts::englishDefaults().count(k), 1u) << k;
    EXPECT_EQ(LanguageTexts::englishDefaults().size(), 38u);
}

TEST(Language, OutcomeTextNamesReasonAndDetail) {
    ScaleOutcome o;
    o.state = ScaleState::Failed;
    o.reason = FailReason::Timeout;
    o.detail = "no answer within 1000 ms";
    const std::string s = outcomeText(o, LanguageTexts("Failed=Fehler\nErrTimeout=Zeit"));
    EXPECT_EQ(s, "Fehler: Zeit (no answer within 1000 ms)");
}

TEST(Language, SummaryNotesAndDetailComeFromTheLanguageText) {
    TransferSummary s;
    s.notes.push_back({"NoteNoRecord", {"KVR_25", "3"}});
    s.notes.push_back({"NoteNotSent", {"99"}});
    const LanguageTexts zh("SummaryText=%1/%2 完成 %3 失败\nNoteNoRecord=%1 第 %2 行：没有记录，未发送\n"
                           "NoteNotSent=文件 %1 不能发送到电子秤，已跳过");
    const std::string text = summaryText(s, zh);
    EXPECT_NE(text.find("KVR_25 第 3 行：没有记录，未发送"), std::string::npos) << text;
    EXPECT_NE(text.find("文件 99 不能发送到电子秤，已跳过"), std::string::npos) << text;
    EXPECT_EQ(text.find("not sent"), std::string::npos) << text;

    TransferSummary failed;
    failed.reason = FailReason::NoScale;
    failed.detail = {"DetailNoScale", {"4", "2"}};
    EXPECT_EQ(summaryText(failed, LanguageTexts("ErrNoScale=没有秤\nDetailNoScale=店 %1，部门 %2")),
              "没有秤 (店 4，部门 2)");
    // Without a text of its own the English one is used, and a raw reason is shown as it is.
    EXPECT_EQ(summaryText(failed, LanguageTexts()),
              "No scale found for this store and section (store 4, section 2: no scale in use)");
    failed.detail = Note::raw("disk I/O error");
    EXPECT_EQ(summaryText(failed, LanguageTexts("ErrNoScale=X")), "X (disk I/O error)");
}
