#pragma once

#include "views/Theme.h"

#include <QTextDocument>
#include <QTextEdit>

/// What a tool or a system says, of any length: it breaks within words where it has to, can be
/// marked and copied, is as high as its text, and scrolls beyond some lines.
class TextBlock : public QTextEdit {
    Q_OBJECT
public:
    /// `name` is what a screen reader calls it.
    TextBlock(const QString& name, Theme::Type type, const QColor& colour = Theme::Colour::text,
        Qt::Alignment alignment = Qt::AlignLeft, QWidget* parent = nullptr);

    /// Without the white space around it. A text that nobody would read to its end is cut.
    void setContent(const QString& text);
    void setColour(const QColor& colour);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;

private:
    int heightOf(int lines) const;

    Theme::Type m_type;
    mutable QTextDocument m_measure; // the same text, laid out for a width that is only proposed
};
