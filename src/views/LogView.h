#pragma once

#include <QPlainTextEdit>

/// A log that grows. It follows its end, unless the user has scrolled up to read.
class LogView : public QPlainTextEdit {
    Q_OBJECT
public:
    /// `name` is what a screen reader calls it.
    explicit LogView(const QString& name, QWidget* parent = nullptr);

    /// Shows the whole log as it is now. What is shown already stays; only what is new is added.
    void setLog(const QString& text);

protected:
    bool event(QEvent* event) override;
    /// Who sees the end goes on seeing it.
    void resizeEvent(QResizeEvent* event) override;

private:
    bool isAtEnd() const;

    QString m_log;
};
