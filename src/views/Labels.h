#pragma once

#include "views/Theme.h"

#include <QLabel>

/// A line of text of the theme.
QLabel* makeLabel(const QString& text, Theme::Type type, const QColor& colour = Theme::Colour::text,
    QWidget* parent = nullptr);

/// A secondary caption under a control; it wraps.
class HelperText : public QLabel {
    Q_OBJECT
public:
    explicit HelperText(const QString& text, QWidget* parent = nullptr);
};

/// What a screen is called, and what it is for.
class SectionHeader : public QWidget {
    Q_OBJECT
public:
    SectionHeader(const QString& title, const QString& caption, QWidget* parent = nullptr);
};

/// What stands in a screen that has nothing to work on.
class EmptyState : public QWidget {
    Q_OBJECT
public:
    EmptyState(const QString& symbol, const QString& title, const QString& caption,
        QWidget* parent = nullptr);

    /// Puts a control below the texts.
    void add(QWidget* control);
};

/// A line of text that is cut in its middle where there is no room for it; a pointer on it then
/// shows all.
class ElidedLabel : public QLabel {
    Q_OBJECT
public:
    explicit ElidedLabel(Theme::Type type, QWidget* parent = nullptr);

    void setFullText(const QString& text);
    QString fullText() const { return m_fullText; }
    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void fit();

    QString m_fullText;
};
