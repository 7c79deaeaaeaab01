#include "views/TextBlock.h"

#include "views/WayBack.h"

#include <QTextOption>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int border = 1; // that shows the focus
constexpr int mostLines = 10;
constexpr int mostLetters = 20'000;

} // namespace

TextBlock::TextBlock(const QString& name, Theme::Type type, const QColor& colour,
    Qt::Alignment alignment, QWidget* parent)
    : QTextEdit(parent)
    , m_type(type)
{
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setTabChangesFocus(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setAccessibleName(name);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setColour(colour);
    QTextOption option(alignment);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    for (QTextDocument* each : {document(), &m_measure}) {
        each->setDefaultFont(font());
        each->setDefaultTextOption(option);
        each->setDocumentMargin(0);
    }
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void TextBlock::setColour(const QColor& colour)
{
    Theme::style(*this, m_type, colour);
}

void TextBlock::setContent(const QString& text)
{
    QString shown = text.trimmed();
    if (shown.size() > mostLetters)
        shown = shown.left(mostLetters) + u"…"_s;
    if (shown == toPlainText())
        return;
    setPlainText(shown);
    m_measure.setPlainText(shown);
    updateGeometry();
}

int TextBlock::heightForWidth(int width) const
{
    m_measure.setTextWidth(std::max(width - 2 * border, 1));
    const int whole = static_cast<int>(std::ceil(m_measure.size().height())) + 2 * border;
    return std::min(whole, heightOf(mostLines));
}

int TextBlock::heightOf(int lines) const
{
    const double line = std::ceil(QFontMetricsF(font()).lineSpacing());
    return lines * static_cast<int>(line) + 2 * border;
}

QSize TextBlock::sizeHint() const
{
    constexpr int letters = 40;
    const int width = letters * fontMetrics().averageCharWidth();
    return {width, heightForWidth(width)};
}

QSize TextBlock::minimumSizeHint() const
{
    constexpr int letters = 10;
    return {letters * fontMetrics().averageCharWidth(), heightOf(1)};
}

bool TextBlock::event(QEvent* event)
{
    return WayBack::leaves(*event) || QTextEdit::event(event);
}
