#include "views/Labels.h"

#include "views/Symbol.h"

#include <QFontMetrics>
#include <QTextDocument>
#include <QVBoxLayout>

QLabel* makeLabel(const QString& text, Theme::Type type, const QColor& colour, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    Theme::style(*label, type, colour);
    return label;
}

HelperText::HelperText(const QString& text, QWidget* parent)
    : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    Theme::style(*this, Theme::Type::caption, Theme::Colour::secondary);
}

SectionHeader::SectionHeader(const QString& title, const QString& caption, QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Theme::Space::tight);
    layout->addWidget(makeLabel(title, Theme::Type::title));
    auto* text = makeLabel(caption, Theme::Type::body, Theme::Colour::secondary);
    text->setWordWrap(true);
    layout->addWidget(text);
}

EmptyState::EmptyState(
    const QString& symbol, const QString& title, const QString& caption, QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(Theme::Space::small);
    layout->setAlignment(Qt::AlignCenter);
    layout->addWidget(new SymbolLabel(symbol, Theme::Colour::secondary, 56), 0, Qt::AlignHCenter);
    layout->addSpacing(Theme::Space::small);
    layout->addWidget(makeLabel(title, Theme::Type::headline), 0, Qt::AlignHCenter);
    layout->addWidget(
        makeLabel(caption, Theme::Type::body, Theme::Colour::secondary), 0, Qt::AlignHCenter);
}

void EmptyState::add(QWidget* control)
{
    auto* box = static_cast<QVBoxLayout*>(layout());
    box->addSpacing(Theme::Space::small);
    box->addWidget(control, 0, Qt::AlignHCenter);
}

ElidedLabel::ElidedLabel(Theme::Type type, QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    Theme::style(*this, type);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void ElidedLabel::setFullText(const QString& text)
{
    m_fullText = text;
    setAccessibleName(text);
    updateGeometry();
    fit();
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 6, QLabel::minimumSizeHint().height()};
}

QSize ElidedLabel::sizeHint() const
{
    const QMargins margins = contentsMargins();
    return {fontMetrics().horizontalAdvance(m_fullText) + 4 + margins.left() + margins.right(),
        QLabel::sizeHint().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    fit();
}

void ElidedLabel::fit()
{
    QString line = m_fullText;
    line.replace(u'\n', u' '); // there is room for one
    const QString shown = fontMetrics().elidedText(line, Qt::ElideMiddle, contentsRect().width());
    setText(shown);
    setToolTip(shown == line ? QString() : Qt::convertFromPlainText(m_fullText));
}
