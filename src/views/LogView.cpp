#include "views/LogView.h"

#include "views/Theme.h"
#include "views/WayBack.h"

#include <QScrollBar>
#include <QTextCursor>

LogView::LogView(const QString& name, QWidget* parent)
    : QPlainTextEdit(parent)
{
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setAccessibleName(name);
    setFont(Theme::font(Theme::Type::monospaced));
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setMinimumHeight(110);
}

void LogView::setLog(const QString& text)
{
    if (text == m_log)
        return;
    const bool grows = text.startsWith(m_log);
    QScrollBar& bar = *verticalScrollBar();
    const bool followsEnd = !grows || isAtEnd();
    if (!grows)
        clear();
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    end.insertText(grows ? text.sliced(m_log.size()) : text);
    m_log = text;
    if (followsEnd)
        bar.setValue(bar.maximum());
}

bool LogView::isAtEnd() const
{
    const QScrollBar& bar = *verticalScrollBar();
    return bar.value() >= bar.maximum() - 1;
}

void LogView::resizeEvent(QResizeEvent* event)
{
    const bool followsEnd = isAtEnd();
    QPlainTextEdit::resizeEvent(event);
    if (followsEnd)
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

bool LogView::event(QEvent* event)
{
    return WayBack::leaves(*event) || QPlainTextEdit::event(event);
}
