#pragma once
// The input check of every field whose text goes into a scale record: the run's code page must
// hold each character, or the character would reach the scales as '?'. While the operator types,
// a label names the first character that cannot be held; at accept the form asks confirm(),
// which says so in a message and puts the focus back. The text itself is never changed.
#include <QObject>
#include <QString>

class QLabel;
class QLineEdit;
class QWidget;

namespace brindale::shell {

struct ProgramState;

// The first character of `text` that the run's code page cannot hold; empty when it holds all.
QString characterNotHeld(const ProgramState& state, const QString& text);
// The warning for `text` (msgbox codepageNotHeld, naming the character and the page); empty when
// the page holds all of it. For fields that are no line edit, such as grid cells.
QString codePageWarning(const ProgramState& state, const QString& text);

class CodePageInput : public QObject {
    Q_OBJECT
public:
    // `warning` shows the warning while there is one and is hidden otherwise; it may be null.
    CodePageInput(const ProgramState& state, QLineEdit* edit, QLabel* warning);

    QString warningText() const;
    // At accept: true when the page holds the text; otherwise the message, the focus on the
    // field, and false.
    bool confirm(QWidget* parent);

private:
    void refresh();

    const ProgramState& state_;
    QLineEdit* edit_;
    QLabel* warning_;
};

}  // namespace brindale::shell
