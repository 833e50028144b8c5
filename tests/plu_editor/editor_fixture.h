#pragma once
// The real program offscreen with one store and the PLU editor at hand: shared by the editor's
// tests and those of the list and the editor together.
#include <gtest/gtest.h>

#include <QLineEdit>

#include "gui_support.h"
#include "plu/ui/plu_editor_window.h"
#include "store/recordset.h"

namespace brindale::testing {

struct EditorFixture : ::testing::Test {
    GuiApp g;
    plu::ui::PluEditor* ed = nullptr;

    void SetUp() override {
        answerYes();
        clearMessages();
        firstStore(g, "Main street");
        if (HasFatalFailure()) return;
        g.select("STORE 1");
        ed = qobject_cast<plu::ui::PluEditor*>(g.w().pluTabs());
        ASSERT_NE(ed, nullptr);
        ed->enablePLUButtons();
    }
    void TearDown() override {
        answerYes();
        g.state().pluChanged = false;
    }
    template <class T>
    T* c(const char* name) {
        auto* w = qobject_cast<T*>(ed->control(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    void type(const char* name, const QString& text) { c<QLineEdit>(name)->setText(text); }
    QString text(const char* name) { return c<QLineEdit>(name)->text(); }
    int64_t col(const std::string& column, int64_t rowid) {
        store::Recordset rs(*g.state().Conn, "select * from KVR_25 where rowid=" + std::to_string(rowid));
        EXPECT_EQ(rs.recordCount(), 1);
        rs.moveFirst();
        return rs.intValue(column);
    }
    // A new PLU with the given number and price, saved through cmdUpdate.
    int64_t newPlu(const QString& no, const QString& price) {
        g.w().button("cmdNew")->click();
        type("meditPLU", no);
        type("meditUPrice", price);
        qint64 saved = 0;
        auto conn = QObject::connect(ed, &plu::ui::PluEditor::rowSaved, [&](qint64 id) { saved = id; });
        g.w().button("cmdUpdate")->click();
        QObject::disconnect(conn);
        return saved;
    }
};


}  // namespace brindale::testing
