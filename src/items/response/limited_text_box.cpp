#include "items/response/limited_text_box.h"

#include "state/run_state.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QTextDocumentFragment>

namespace corvane {

namespace {

int CountedLength(const QString& text) {
    return int(text.size() + text.count(QLatin1Char('\n')));
}

} // namespace

LimitedTextBox::LimitedTextBox(QWidget* parent) : QPlainTextEdit(parent) {
    setTabChangesFocus(true);
}

int LimitedTextBox::Length() const {
    return CountedLength(toPlainText());
}

int LimitedTextBox::Room() const {
    if (m_maxLength <= 0)
        return INT_MAX;
    const QString selected = textCursor().selection().toPlainText();
    return m_maxLength - Length() + CountedLength(selected);
}

void LimitedTextBox::keyPressEvent(QKeyEvent* event) {
    const QString text = event->text();
    const bool lineBreak = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool typing = lineBreak || (!text.isEmpty() && text.at(0).isPrint());
    const int needed = lineBreak ? 2 : CountedLength(text);
    if (typing && needed > Room()) {
        event->accept(); // the box refuses the character
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

void LimitedTextBox::insertFromMimeData(const QMimeData* source) {
    if (!source->hasText())
        return;
    QString text = source->text();
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    const int room = Room();
    while (CountedLength(text) > room)
        text.chop(1);
    insertPlainText(text);
}

void TellMostCharactersTyped(RunState& state) {
    state.Boxes().Show(MessageBox{state.MessageTitle(), state.Messages[22], BoxIcon::Information});
}

} // namespace corvane
