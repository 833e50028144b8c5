#include "labelformat/editor_support.h"

#include "store/rebuild.h"

namespace brindale::labelformat::test {

EditorEnv::EditorEnv() {
    state.appDir = dir->dir();
    state.lang.loadAll(state.appDir, state.settings.LanguageName());
    store::rebuildDatabase(dir->path("Database/ABC1.txt"), dir->path("Database/Brindale1.mdb"), 0);
    state.Conn = store::Database::open(dir->path("Database/Brindale1.mdb"));
    shell::Messages::setResponder([this](const shell::MessageRecord& r) {
        asked.push_back(r.text.toStdString());
        if (answers.empty()) return r.buttons == shell::MsgButtons::Ok ? shell::MsgResult::Ok : shell::MsgResult::Yes;
        const shell::MsgResult a = answers.front();
        answers.pop_front();
        return a;
    });
}

EditorEnv::~EditorEnv() {
    shell::Messages::setResponder({});
    state.closeDatabase();
}

std::unique_ptr<ui::FrmLabelFormat> EditorEnv::open(ui::FrmLabelFormat::FlowRunner run) {
    return std::make_unique<ui::FrmLabelFormat>(state, std::move(run));
}

void tick(QWidget* form, int row, bool on) {
    child<QListWidget>(form, "listItem")->item(row)->setCheckState(on ? Qt::Checked : Qt::Unchecked);
}

void enter(QWidget* form, const char* field, const QString& text) {
    auto* f = child<QLineEdit>(form, field);
    f->setText(text);
    emit f->editingFinished();
}

void choose(QWidget* form, const char* combo, int index) {
    auto* c = child<QComboBox>(form, combo);
    c->setCurrentIndex(index);
    emit c->activated(index);
}

}  // namespace brindale::labelformat::test
