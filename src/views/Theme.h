#pragma once

#include <QColor>
#include <QFont>

class QApplication;
class QWidget;

/// How everything looks: dark, calm, precise. Screens take colours, sizes and distances from here
/// and have none of their own.
namespace Theme {

namespace Colour {
inline constexpr QColor window{0x14, 0x16, 0x1d};
inline constexpr QColor sidebar{0x0f, 0x11, 0x16};
inline constexpr QColor card{0x1c, 0x1f, 0x29};
inline constexpr QColor field{0x12, 0x14, 0x1a};
inline constexpr QColor raised{0x2a, 0x2e, 0x3b}; // buttons, selected rows
inline constexpr QColor raisedHover{0x35, 0x3a, 0x4a};
inline constexpr QColor border{0x33, 0x38, 0x47};
inline constexpr QColor outline{0x4c, 0x53, 0x66}; // of drop zones and of what can be dragged
inline constexpr QColor outlineHover{0x5d, 0x65, 0x7a};
inline constexpr QColor text{0xec, 0xee, 0xf4};
inline constexpr QColor secondary{0xa2, 0xaa, 0xbc};
inline constexpr QColor faint{0x83, 0x8b, 0x9d}; // what can't be used, or was not typed yet
inline constexpr QColor accent{0x2f, 0x6b, 0xe0};
inline constexpr QColor accentHover{0x36, 0x70, 0xdf};
inline constexpr QColor onAccent{0xff, 0xff, 0xff};
inline constexpr QColor accentInk{0x7c, 0xad, 0xff}; // on dark ground
inline constexpr QColor green{0x4b, 0xd3, 0x93};
inline constexpr QColor orange{0xf5, 0xb3, 0x51};
inline constexpr QColor red{0xff, 0x7b, 0x72};
inline constexpr QColor cyan{0x5f, 0xd4, 0xee};
inline constexpr QColor dimming{0x00, 0x00, 0x00, 0x96}; // of what lies beneath a sheet
} // namespace Colour

/// Distances in points.
namespace Space {
inline constexpr int tight = 4;
inline constexpr int small = 8;
inline constexpr int medium = 12;
inline constexpr int large = 20;
inline constexpr int page = 28; // around a screen
} // namespace Space

namespace Radius {
inline constexpr int control = 7;
inline constexpr int card = 12;
} // namespace Radius

/// The kinds of text there are.
enum class Type { hugeTitle, largeTitle, title, headline, body, caption, monospaced };

QFont font(Type type);

/// Dresses the whole application. Once, before the first window.
void apply(QApplication& application);

/// Gives a label the type and, where one is given, the colour.
void style(QWidget& widget, Type type, const QColor& colour = Colour::text);

/// The ground of a badge with that ink, on a card.
QColor tint(const QColor& ink);

/// How long things move, in milliseconds; 0 where the user wants no motion.
int motion(const QWidget& widget);

/// Contrast of two opaque colours (WCAG 2.1, "contrast ratio"): 1 to 21.
double contrast(const QColor& one, const QColor& other);

} // namespace Theme
