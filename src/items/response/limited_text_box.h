// The typed-answer box of the fill-in-the-blank and essay items: a text box that holds at most so
// many characters, counted as the data files take them (a line break is a carriage return and a
// line feed, two characters), refusing a key or a paste that would go past the limit.
#pragma once

#include <QPlainTextEdit>

namespace corvane {

class RunState;

class LimitedTextBox : public QPlainTextEdit {
    Q_OBJECT
public:
    explicit LimitedTextBox(QWidget* parent = nullptr);

    /// The most characters; 0 for no limit.
    void SetMaxLength(int characters) { m_maxLength = characters; }
    int MaxLength() const { return m_maxLength; }
    /// The characters the text counts for.
    int Length() const;
    /// True when the limit is set and the text has reached it.
    bool Full() const { return m_maxLength > 0 && Length() >= m_maxLength; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void insertFromMimeData(const QMimeData* source) override;

private:
    /// What may still be inserted in place of the selection.
    int Room() const;

    int m_maxLength = 0;
};

/// Tells the participant that the box holds as many characters as it may.
void TellMostCharactersTyped(RunState& state);

} // namespace corvane
