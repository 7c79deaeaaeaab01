#pragma once

#include <QColor>
#include <QIcon>
#include <QLabel>
#include <QPixmap>

/// The product's own symbols: black ink, with what is cut out of it in white. Drawn in any colour
/// and sharp at any scale.
namespace Symbol {

/// The symbol in one colour, `points` wide and high; empty when there is none of that name.
QPixmap pixmap(const QString& name, const QColor& colour, int points, double pixelRatio);
/// For buttons: in `colour`, and pale where disabled.
QIcon icon(const QString& name, const QColor& colour);

} // namespace Symbol

/// A symbol beside or above text.
class SymbolLabel : public QLabel {
    Q_OBJECT
public:
    SymbolLabel(const QString& name, const QColor& colour, int points, QWidget* parent = nullptr);

    void setSymbol(const QString& name, const QColor& colour);
    QString symbolName() const { return m_name; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_name;
    QColor m_colour;
    int m_points;
};
