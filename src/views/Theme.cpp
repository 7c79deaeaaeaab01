#include "views/Theme.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>
#include <QWidget>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

struct TypeRow {
    Theme::Type type;
    int pixels;
    QFont::Weight weight;
};

constexpr std::array typeRows{
    TypeRow{Theme::Type::hugeTitle, 36, QFont::Bold},
    TypeRow{Theme::Type::largeTitle, 28, QFont::Bold},
    TypeRow{Theme::Type::title, 21, QFont::Bold},
    TypeRow{Theme::Type::headline, 15, QFont::DemiBold},
    TypeRow{Theme::Type::body, 14, QFont::Normal},
    TypeRow{Theme::Type::caption, 12, QFont::Normal},
    TypeRow{Theme::Type::monospaced, 12, QFont::Normal},
};

QPalette palette()
{
    using namespace Theme;
    QPalette palette;
    palette.setColor(QPalette::Window, Colour::window);
    palette.setColor(QPalette::WindowText, Colour::text);
    palette.setColor(QPalette::Base, Colour::field);
    palette.setColor(QPalette::AlternateBase, Colour::card);
    palette.setColor(QPalette::Text, Colour::text);
    palette.setColor(QPalette::Button, Colour::raised);
    palette.setColor(QPalette::ButtonText, Colour::text);
    palette.setColor(QPalette::BrightText, Colour::onAccent);
    palette.setColor(QPalette::PlaceholderText, Colour::faint);
    palette.setColor(QPalette::Highlight, Colour::accent);
    palette.setColor(QPalette::HighlightedText, Colour::onAccent);
    palette.setColor(QPalette::ToolTipBase, Colour::raised);
    palette.setColor(QPalette::ToolTipText, Colour::text);
    palette.setColor(QPalette::Link, Colour::accentInk);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, Colour::faint);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, Colour::raised);
    return palette;
}

/// Colours by name, so that the sheet below repeats none. It names no ink for fields: the palette
/// knows one for what is not typed yet, which an ink of the sheet would replace.
QString withColours(QString sheet)
{
    using namespace Theme;
    const std::pair<QString, QColor> names[] = {{u"@window"_s, Colour::window},
        {u"@sidebar"_s, Colour::sidebar}, {u"@card"_s, Colour::card}, {u"@field"_s, Colour::field},
        {u"@raisedHover"_s, Colour::raisedHover}, {u"@raised"_s, Colour::raised},
        {u"@border"_s, Colour::border}, {u"@outlineHover"_s, Colour::outlineHover},
        {u"@outline"_s, Colour::outline}, {u"@text"_s, Colour::text},
        {u"@secondary"_s, Colour::secondary}, {u"@accentHover"_s, Colour::accentHover},
        {u"@accentInk"_s, Colour::accentInk}, {u"@accent"_s, Colour::accent},
        {u"@onAccent"_s, Colour::onAccent}, {u"@red"_s, Colour::red}, {u"@faint"_s, Colour::faint}};
    for (const auto& [name, colour] : names)
        sheet.replace(name, colour.name());
    return sheet;
}

const QString sheet = uR"(
QToolTip { background: @raised; color: @text; border: 1px solid @border; padding: 4px 6px; }
QScrollArea, QScrollArea > QWidget > QWidget { background: transparent; border: none; }
QPushButton { background: @raised; color: @text; border: 1px solid @border; border-radius: 7px;
    padding: 6px 14px; min-height: 18px; }
QPushButton:hover { background: @raisedHover; }
QPushButton:pressed { background: @border; }
QPushButton:focus { border: 1px solid @accentInk; }
QPushButton:disabled { color: @faint; background: @card; }
QPushButton[kind="primary"] { background: @accent; color: @onAccent; border-color: @accent;
    font-weight: 600; }
QPushButton[kind="primary"]:hover { background: @accentHover; }
QPushButton[kind="primary"]:focus { border: 2px solid @text; padding: 5px 13px; }
QPushButton[kind="primary"]:disabled { background: @card; color: @faint; border-color: @border; }
QPushButton[kind="destructive"] { color: @red; }
QPushButton[kind="destructive"]:hover { background: @raised; border-color: @red; }
QPushButton[kind="plain"] { background: transparent; border: 1px solid transparent; padding: 4px; }
QPushButton[kind="plain"]:hover { background: @raised; }
QPushButton[kind="plain"]:focus { border: 1px solid @accentInk; }
QPushButton[kind="segment"] { background: transparent; border: 1px solid transparent;
    padding: 5px 12px; color: @secondary; }
QPushButton[kind="segment"]:checked { background: @raisedHover; color: @text; }
QPushButton[kind="segment"]:focus { border: 1px solid @accentInk; }
QLineEdit, QComboBox { background: @field; border: 1px solid @border; border-radius: 7px;
    padding: 6px 9px; min-height: 18px;
    selection-background-color: @accent; selection-color: @onAccent; }
QComboBox { padding-left: 11px; }
QLineEdit:focus, QComboBox:focus { border: 1px solid @accentInk; }
QComboBox::drop-down { border: none; width: 22px; }
QComboBox QAbstractItemView { background: @raised; color: @text; border: 1px solid @border;
    selection-background-color: @accent; selection-color: @onAccent; outline: none; padding: 4px; }
QPlainTextEdit { background: @field; color: @text; border: 1px solid @border; border-radius: 7px;
    padding: 6px; selection-background-color: @accent; selection-color: @onAccent; }
QTextEdit { background: transparent; border: 1px solid transparent; border-radius: 4px;
    selection-background-color: @accent; selection-color: @onAccent; }
QTextEdit:focus, QPlainTextEdit:focus { border: 1px solid @accentInk; }
QSlider { min-height: 20px; }
QSlider::groove:horizontal { height: 4px; border-radius: 2px; background: @border; }
QSlider::sub-page:horizontal { background: @accentInk; border-radius: 2px; }
QSlider::handle:horizontal { background: @text; width: 16px; height: 16px; margin: -6px 0;
    border-radius: 8px; }
QSlider::handle:horizontal:focus { background: @accentInk; }
QProgressBar { background: @border; border: none; border-radius: 2px; max-height: 4px; }
QProgressBar::chunk { background: @accentInk; border-radius: 2px; }
QScrollBar:vertical { background: transparent; width: 10px; margin: 2px; }
QScrollBar:horizontal { background: transparent; height: 10px; margin: 2px; }
QScrollBar::handle { background: @outline; border-radius: 3px; min-height: 28px; min-width: 28px; }
QScrollBar::handle:hover { background: @outlineHover; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
QMenuBar { background: @sidebar; color: @text; padding: 3px 4px; }
QMenuBar::item { padding: 5px 8px; border-radius: 6px; }
QMenuBar::item:selected, QMenu::item:selected { background: @accent; color: @onAccent; }
QMenu { background: @raised; color: @text; border: 1px solid @border; padding: 4px; }
QMenu::item { padding: 5px 22px; }
)"_s;

} // namespace

QFont Theme::font(Type type)
{
    const auto row = std::ranges::find(typeRows, type, &TypeRow::type);
    QFont font = type == Type::monospaced ? QFontDatabase::systemFont(QFontDatabase::FixedFont)
                                          : QApplication::font();
    font.setPixelSize(row->pixels);
    font.setWeight(row->weight);
    return font;
}

void Theme::apply(QApplication& application)
{
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    QFont font = QApplication::font();
    font.setPixelSize(14);
    QApplication::setFont(font);
    QApplication::setPalette(palette());
    application.setStyleSheet(withColours(sheet));
}

void Theme::style(QWidget& widget, Type type, const QColor& colour)
{
    widget.setFont(font(type));
    QPalette palette = widget.palette();
    palette.setColor(QPalette::WindowText, colour);
    palette.setColor(QPalette::Text, colour);
    widget.setPalette(palette);
}

QColor Theme::tint(const QColor& ink)
{
    constexpr float share = 0.12F;
    const auto mixed = [](float one, float other) { return share * one + (1 - share) * other; };
    const QColor& ground = Colour::card;
    return QColor::fromRgbF(mixed(ink.redF(), ground.redF()), mixed(ink.greenF(), ground.greenF()),
        mixed(ink.blueF(), ground.blueF()));
}

int Theme::motion(const QWidget& widget)
{
    return widget.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &widget);
}

double Theme::contrast(const QColor& one, const QColor& other)
{
    const auto linear = [](double share) {
        return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    const auto luminance = [&](const QColor& colour) {
        return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
            + 0.0722 * linear(colour.blueF());
    };
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}
