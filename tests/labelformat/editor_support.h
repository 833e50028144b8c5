#pragma once
// The label editor over a program state with the shipped language tables and a working
// database; messages are answered from a queue (Yes when it is empty) and recorded.
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollBar>
#include <deque>
#include <memory>
#include <string>

#include "labelformat/ui/label_format.h"
#include "shell/messages.h"
#include "shell/program_state.h"
#include "support/temp_app.h"

namespace brindale::labelformat::test {

struct EditorEnv {
    std::unique_ptr<brindale::testing::TempApp> dir = std::make_unique<brindale::testing::TempApp>();
    shell::ProgramState state;
    std::deque<shell::MsgResult> answers;
    std::vector<std::string> asked;  // message texts in order

    EditorEnv();
    ~EditorEnv();
    std::string msg(const char* key) const { return state.text("msgbox", key); }
    std::unique_ptr<ui::FrmLabelFormat> open(ui::FrmLabelFormat::FlowRunner run = {});
};

template <class T>
T* child(QWidget* w, const char* name) {
    return w->findChild<T*>(QString::fromLatin1(name));
}
// Ticks or unticks the line of a slot in listItem (row in the list of the current type).
void tick(QWidget* form, int row, bool on);
// Types into a field and leaves it.
void enter(QWidget* form, const char* field, const QString& text);
// Chooses an entry of a combo as the operator does.
void choose(QWidget* form, const char* combo, int index);

}  // namespace brindale::labelformat::test
