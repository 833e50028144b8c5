// The transfer history between runs: AccessData/temptransferlog.txt, in the mirror's text form.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "mirror/mirror_fixture.h"
#include "store/fatal_error.h"
#include "store/mirror.h"
#include "store/schema.h"
#include "transfer/transfer_log.h"

using namespace brindale;
using brindale::testing::MirrorChain;

namespace {

transfer::TransferLogRow entry(const std::string& start, const std::string& name, const std::string& detail) {
    transfer::TransferLogRow r;
    r.start = start;
    r.durationMs = 1234;
    r.mode = 1;
    r.tables = "25,34";
    r.store = 3;
    r.section = 0;
    r.scaleName = name;
    r.scaleAddress = "127.0.0.2";
    r.state = "Failed";
    r.reason = "ErrTimeout";
    r.detail = detail;
    r.done = 7;
    r.toDo = 12;
    r.notes = "";
    return r;
}

void append(MirrorChain& c, const std::vector<transfer::TransferLogRow>& rows) {
    std::string error;
    ASSERT_TRUE(transfer::appendTransferLog(c.db().handle(), rows, error)) << error;
}

std::vector<transfer::TransferLogRow> history(MirrorChain& c) {
    std::vector<transfer::TransferLogRow> rows;
    std::string error;
    EXPECT_TRUE(transfer::queryTransferLog(c.db().handle(), {}, rows, error)) << error;
    for (auto& r : rows) r.id = 0;  // row ids are the working database's own
    return rows;
}

}  // namespace

TEST(TransferLogMirror, TheFilesColumnsAreTheTablesColumnsInOrder) {
    brindale::testing::TempApp app;
    const store::Schema schema = store::readSchemaFile(app.path("Database/ABC1.txt"));
    const store::TableDef* t = schema.find("TRANSFER_LOG");
    ASSERT_NE(t, nullptr);
    const auto& f = store::transferLogMirrorFile();
    EXPECT_STREQ(f.file, "temptransferlog.txt");
    ASSERT_EQ(f.columns.size(), t->columns.size());
    for (size_t i = 0; i < f.columns.size(); ++i) EXPECT_EQ(f.columns[i].name, t->columns[i].name) << i;
}

TEST(TransferLogMirror, RowsComeBackAsTheyWereWritten) {
    MirrorChain c;
    c.start();
    // Texts that look like numbers, an empty text, blanks kept as typed.
    append(c, {entry("2024-05-01T14:03:22", "1", "no answer within 15000 ms"),
               entry("2024-05-01T14:03:22", "Deli  2 ", ""),
               entry("2024-05-02T08:00:00", "Null", "12")});
    const auto before = history(c);
    ASSERT_EQ(before.size(), 3u);
    c.end();
    const std::string text = c.app.read("AccessData/temptransferlog.txt");
    // One value a line, CR LF, numbers in the print form.
    const std::string firstRow =
        "2024-05-01T14:03:22\r\n 1234 \r\n 1 \r\n25,34\r\n 3 \r\n 0 \r\n1\r\n127.0.0.2\r\nFailed\r\nErrTimeout\r\n"
        "no answer within 15000 ms\r\n 7 \r\n 12 \r\n\r\n";
    EXPECT_EQ(text.substr(0, firstRow.size()), firstRow);
    c.start();
    EXPECT_EQ(history(c), before);
    // And again, through a second end and start.
    c.end();
    EXPECT_EQ(c.app.read("AccessData/temptransferlog.txt"), text);
    c.start();
    EXPECT_EQ(history(c), before);
    c.end();
}

TEST(TransferLogMirror, NoFileIsAnEmptyHistoryAndAnEmptyHistoryWritesNone) {
    MirrorChain c;
    c.start();
    EXPECT_TRUE(history(c).empty());
    c.end();
    EXPECT_FALSE(c.app.exists("AccessData/temptransferlog.txt"));
    c.start();
    append(c, {entry("2024-05-01T14:03:22", "1", "x")});
    c.end();
    EXPECT_TRUE(c.app.exists("AccessData/temptransferlog.txt"));
    std::filesystem::remove(c.app.path("AccessData/temptransferlog.txt"));
    c.start();
    EXPECT_TRUE(history(c).empty());
    c.end();
}

TEST(TransferLogMirror, ADamagedLineStopsTheStartNamingFileAndLine) {
    MirrorChain c;
    c.start();
    append(c, {entry("2024-05-01T14:03:22", "1", "x"), entry("2024-05-01T14:03:23", "2", "y")});
    c.end();
    std::string text = c.app.read("AccessData/temptransferlog.txt");
    // The second row's duration (line 16) is no number.
    const std::string good = "2024-05-01T14:03:23\r\n 1234 \r\n";
    const size_t at = text.find(good);
    ASSERT_NE(at, std::string::npos);
    text.replace(at, good.size(), "2024-05-01T14:03:23\r\nsoon\r\n");
    c.app.write("AccessData/temptransferlog.txt", text);
    try {
        c.start();
        FAIL() << "the start went on";
    } catch (const FatalError& e) {
        EXPECT_NE(e.where().find("temptransferlog.txt"), std::string::npos) << e.what();
        EXPECT_EQ(e.line(), 16) << e.what();
        EXPECT_NE(std::string(e.what()).find("TL_Duration"), std::string::npos) << e.what();
    }
    // The file stays as it is, for the operator to repair or remove.
    EXPECT_EQ(c.app.read("AccessData/temptransferlog.txt"), text);
}

TEST(TransferLogMirror, AFileEndingInsideARowStopsTheStart) {
    MirrorChain c;
    c.start();
    append(c, {entry("2024-05-01T14:03:22", "1", "x")});
    c.end();
    std::string text = c.app.read("AccessData/temptransferlog.txt");
    c.app.write("AccessData/temptransferlog.txt", text + "2024-05-01T14:03:23\r\n 5 \r\n");
    try {
        c.start();
        FAIL() << "the start went on";
    } catch (const FatalError& e) {
        EXPECT_NE(e.where().find("temptransferlog.txt"), std::string::npos) << e.what();
        EXPECT_EQ(e.line(), 17) << e.what();
    }
}
