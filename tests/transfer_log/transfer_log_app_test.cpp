// The history in the running program: its menu entry opens frmTransferLog modally over the main
// window, on the rows of the working database.
#include <gtest/gtest.h>

#include <QTableView>

#include "hierarchy/gui_support.h"
#include "transfer/transfer_log.h"

using namespace brindale;
using namespace brindale::testing;

TEST(TransferLogApp, TheMenuEntryOpensTheHistoryOverTheMainWindow) {
    GuiApp g;
    ModalDriver first("frmProperties", [&](QDialog* f) {
        setText(f, "txtName", "S");
        clickOk(f);
    });
    ASSERT_EQ(g.start(), 0);
    ASSERT_TRUE(first.seen());

    transfer::TransferLogRow r;
    r.start = "2024-05-01T14:03:22";
    r.scaleName = "1";
    r.scaleAddress = "127.0.0.2";
    r.state = "Done";
    std::string error;
    ASSERT_TRUE(transfer::appendTransferLog(g.state().Conn->handle(), {r, r}, error)) << error;

    QAction* entry = g.w().action("menuTransferLog");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(QString(entry->text()).remove('&'), "Transfer history");
    int rows = -1;
    QWidget* parent = nullptr;
    bool modal = false;
    ModalDriver d("frmTransferLog", [&](QDialog* f) {
        rows = f->findChild<QTableView*>("gridLog")->model()->rowCount();
        parent = f->parentWidget();
        modal = f->isModal();
        button(f, "cmdClose")->click();
    });
    g.trigger("menuTransferLog");
    ASSERT_TRUE(d.seen());
    EXPECT_EQ(rows, 2);
    EXPECT_EQ(parent, &g.w());
    EXPECT_TRUE(modal);
    g.end();
}
