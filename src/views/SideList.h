#pragma once

#include <QAbstractButton>
#include <QWidget>

class QVBoxLayout;

/// One row of a window's sidebar: a symbol, a title, a caption beside it.
class SideRow : public QAbstractButton {
    Q_OBJECT
public:
    SideRow(const QString& title, const QString& symbol, QWidget* parent = nullptr);

    void setCaption(const QString& caption);
    QString caption() const { return m_caption; }
    QSize sizeHint() const override;

protected:
    void focusInEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbol;
    QString m_caption;
    bool m_showsFocus = false; // only where keys have led here
};

/// The rows of a sidebar, of which one is current. The arrow keys go from row to row.
class SideList : public QWidget {
    Q_OBJECT
public:
    /// `name` is what a screen reader calls it.
    explicit SideList(const QString& name, QWidget* parent = nullptr);

    SideRow* addRow(const QString& title, const QString& symbol);
    void clear();
    const QList<SideRow*>& rows() const { return m_rows; }
    /// -1 for none.
    void setCurrent(int index);

signals:
    /// The user wants this row.
    void chosen(int index);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QVBoxLayout* m_layout;
    QList<SideRow*> m_rows;
};
