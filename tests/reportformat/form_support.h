#pragma once
// frmReportFormat on a working database with the shipped tables, driven by control name; the
// flows are answered by a stand-in that runs their questions as the flow table orders them.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <memory>
#include <string>
#include <vector>

#include "codec/code_page.h"
#include "hierarchy/fixture.h"
#include "reportformat/ui/report_format_form.h"
#include "shell/messages.h"
#include "shell/program_state.h"

namespace brindale::testing {

struct FormState {
    std::unique_ptr<TempApp> dir = std::make_unique<TempApp>();
    shell::ProgramState state;
    std::vector<transfer::Flow> ran;  // the flows that got past their questions

    explicit FormState(const std::string& page = "CP1252", int scaleTypeIndex = 1, int languageIndex = 0) {
        state.appDir = dir->dir();
        state.settings.ScaleTypeIndex = scaleTypeIndex;
        state.settings.LanguageIndex = languageIndex;
        state.lang.loadAll(state.appDir, state.settings.LanguageName());
        state.codePage = std::make_unique<codec::CodePage>(page);
        state.Conn = makeDatabase(*dir);
    }
    ~FormState() { state.Conn.reset(); }
    std::string text(const char* section, const char* key) const { return state.text(section, key); }
    store::Database& db() { return *state.Conn; }

    reportformat::ui::FrmReportFormat::Runner runner() {
        return [this](transfer::Flow flow, transfer::FlowHooks hooks) {
            transfer::FlowOutcome out;
            out.end = transfer::FlowEnd::Declined;
            if (hooks.askUnsaved && !hooks.askUnsaved()) return out;
            if (hooks.checkBefore && !hooks.checkBefore()) return out;
            ran.push_back(flow);
            out.end = transfer::FlowEnd::Transferred;
            return out;
        };
    }
};

// Messages are recorded and answered: Yes/No questions with `yesNo`, the rest with OK.
struct Answers {
    std::vector<shell::MessageRecord> shown;
    shell::MsgResult yesNo = shell::MsgResult::Yes;
    Answers() {
        shell::Messages::setResponder([this](const shell::MessageRecord& r) {
            shown.push_back(r);
            return r.buttons == shell::MsgButtons::YesNo ? yesNo : shell::MsgResult::Ok;
        });
    }
    ~Answers() { shell::Messages::setResponder({}); }
    std::vector<std::string> texts() const {
        std::vector<std::string> v;
        for (const auto& r : shown) v.push_back(r.text.toStdString());
        return v;
    }
    bool said(const std::string& text) const {
        for (const auto& r : shown)
            if (r.text.toStdString() == text) return true;
        return false;
    }
};

template <class T>
T* child(QWidget* f, const QString& name) {
    T* w = f->findChild<T*>(name);
    EXPECT_NE(w, nullptr) << name.toStdString();
    return w;
}
inline QComboBox* combo(QWidget* f, const char* n) { return child<QComboBox>(f, n); }
inline QLineEdit* edit(QWidget* f, const char* n) { return child<QLineEdit>(f, n); }
inline QPushButton* cmd(QWidget* f, const char* n) { return child<QPushButton>(f, n); }
inline QTableWidget* grid(QWidget* f) { return child<QTableWidget>(f, "gridString"); }
inline QLineEdit* txtGrid(QWidget* f) { return child<QLineEdit>(f, "txtGrid"); }
inline QComboBox* cobFont(QWidget* f) { return child<QComboBox>(f, "CobFont"); }

}  // namespace brindale::testing
