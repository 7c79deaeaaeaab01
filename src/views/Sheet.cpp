#include "views/Sheet.h"

#include "views/Buttons.h"
#include "views/Card.h"
#include "views/Labels.h"
#include "views/Symbol.h"
#include "views/TabStops.h"
#include "views/TextBlock.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int panelWidth = 460;

} // namespace

Sheet::Sheet(const QString& name, QWidget* over)
    : QWidget(over->window())
    , m_panel(new Card)
    , m_content(static_cast<QVBoxLayout*>(m_panel->layout()))
    , m_focusBefore(QApplication::focusWidget())
{
    setAccessibleName(name);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_DeleteOnClose);
    m_panel->setFixedWidth(panelWidth);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_panel, 0, Qt::AlignCenter);
    window()->installEventFilter(this);
    hide();
}

void Sheet::add(QWidget* widget, Qt::Alignment alignment)
{
    m_content->addWidget(widget, 0, alignment);
}

void Sheet::add(QLayout* layout)
{
    m_content->addLayout(layout);
}

void Sheet::addSpace(int points)
{
    m_content->addSpacing(points);
}

void Sheet::present()
{
    setGeometry(parentWidget()->rect());
    show();
    raise();
    if (QPushButton* button = mainButton())
        button->setFocus();
}

QPushButton* Sheet::mainButton() const
{
    const QList<QPushButton*> buttons = findChildren<QPushButton*>();
    return buttons.isEmpty() ? nullptr : buttons.last();
}

QList<Sheet*> Sheet::openIn(const QWidget* window)
{
    QList<Sheet*> sheets = window->findChildren<Sheet*>();
    sheets.removeIf([](const Sheet* each) { return !each->isVisible(); });
    return sheets;
}

void Sheet::leaveFocusTo(QWidget* widget)
{
    if (!m_focusBefore || !m_focusBefore->isVisible())
        m_focusBefore = widget;
}

void Sheet::dismiss()
{
    const QPointer<QWidget> heir = m_focusBefore;
    const bool isOnTop = openIn(window()).endsWith(this);
    close();
    if (isOnTop && heir)
        heir->setFocus();
    for (Sheet* above : openIn(window())) // it may have come when one of this sheet's had the keys
        above->leaveFocusTo(heir);
    emit dismissed();
}

bool Sheet::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        setGeometry(parentWidget()->rect());
    return false;
}

void Sheet::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        emit escaped();
        return;
    }
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        auto* button = qobject_cast<QPushButton*>(focusWidget());
        if (button == nullptr)
            button = mainButton();
        if (button != nullptr)
            button->click();
    }
    // Nothing goes through to what lies beneath.
}

bool Sheet::focusNextPrevChild(bool next)
{
    TabStops::move({m_panel}, focusWidget(), next);
    return true;
}

void Sheet::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), Theme::Colour::dimming);
}

void showAlert(QWidget* over, const QString& title, const QString& message)
{
    auto* sheet = new Sheet(title, over);
    sheet->add(new SymbolLabel(u"exclamationmark.triangle.fill"_s, Theme::Colour::orange, 36),
        Qt::AlignHCenter);
    sheet->add(makeLabel(title, Theme::Type::headline), Qt::AlignHCenter);
    auto* text =
        new TextBlock(u"Message"_s, Theme::Type::body, Theme::Colour::secondary, Qt::AlignHCenter);
    text->setContent(message);
    sheet->add(text);
    sheet->addSpace(Theme::Space::small);
    QPushButton* button = makeButton(u"OK"_s, ButtonKind::primary);
    sheet->add(button);
    QObject::connect(button, &QPushButton::clicked, sheet, &Sheet::dismiss);
    QObject::connect(sheet, &Sheet::escaped, sheet, &Sheet::dismiss);
    sheet->present();
}
