#pragma once

#include <QPushButton>

/// What a button is for, which decides how it looks.
enum class ButtonKind { primary, secondary, destructive, plain };

/// A button with text, and with a symbol in front of it where one is named.
QPushButton* makeButton(const QString& text, ButtonKind kind = ButtonKind::secondary,
    const QString& symbol = {}, QWidget* parent = nullptr);

/// A small button that is nothing but its symbol; `purpose` is its tooltip and what a screen
/// reader calls it.
class SymbolButton : public QPushButton {
    Q_OBJECT
public:
    SymbolButton(const QString& symbol, const QString& purpose, QWidget* parent = nullptr);
};

/// A button that shows that it works instead of its text.
class BusyButton : public QPushButton {
    Q_OBJECT
public:
    BusyButton(const QString& text, const QString& symbol, QWidget* parent = nullptr);

    /// `text` stands beside the turning ring; empty for the ring alone.
    void setBusy(bool busy, const QString& text = {});
    bool isBusy() const { return m_busy; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    QString m_text;
    QIcon m_icon;
    bool m_busy = false;
    int m_timer = 0;
    int m_turn = 0; // of the ring, in degrees
};
