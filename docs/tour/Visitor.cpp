#include "Visitor.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int longest = 120'000; // milliseconds

template <class Widget>
QList<Widget*> inView()
{
    QList<Widget*> found;
    for (QWidget* each : QApplication::allWidgets()) {
        auto* widget = qobject_cast<Widget*>(each);
        if (widget != nullptr && widget->isVisible())
            found.append(widget);
    }
    return found;
}

template <class Widget>
Widget* find(const QString& name)
{
    Widget* found = nullptr;
    const bool isThere = Visitor::turnUntil([&] {
        for (Widget* each : inView<Widget>()) {
            const auto* button = qobject_cast<QAbstractButton*>(each);
            if (each->accessibleName() == name || (button != nullptr && button->text() == name))
                found = each;
        }
        return found != nullptr;
    });
    if (!isThere)
        Visitor::faults().append(u"nothing in view is called "_s + name);
    return found;
}

/// Looks at every event, so that not even what is there for a moment is missed, and acts before
/// the next one, when all that belongs to it is there.
class Watch : public QObject {
public:
    explicit Watch(QString text, std::function<void()> act)
        : m_text(std::move(text))
        , m_act(std::move(act))
    {
        qApp->installEventFilter(this);
    }

    bool hasSeen() const { return m_hasSeen; }

protected:
    bool eventFilter(QObject*, QEvent*) override
    {
        if (!m_isAbout && Visitor::sees(m_text)) {
            m_isAbout = true;
            QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::HighEventPriority);
        }
        return false;
    }
    void customEvent(QEvent*) override
    {
        m_act();
        m_hasSeen = true;
    }

private:
    QString m_text;
    std::function<void()> m_act;
    bool m_isAbout = false;
    bool m_hasSeen = false;
};

} // namespace

Visitor::Visitor(QString folder)
    : m_folder(std::move(folder))
{
    QDir().mkpath(m_folder);
}

QStringList& Visitor::faults()
{
    static QStringList all;
    return all;
}

bool Visitor::turnUntil(const std::function<bool()>& done)
{
    QElapsedTimer time;
    time.start();
    while (!done()) {
        if (time.elapsed() > longest)
            return false;
        QApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 20);
    }
    return true;
}

void Visitor::turnFor(int milliseconds)
{
    QElapsedTimer time;
    time.start();
    turnUntil([&] { return time.elapsed() >= milliseconds; });
}

bool Visitor::atFirstSight(const QString& text, const std::function<void()>& act)
{
    const Watch watch(text, act);
    return turnUntil([&] { return watch.hasSeen(); });
}

void Visitor::take(QWidget& window, const QString& name)
{
    const QList<QWidget*> parts = window.findChildren<QWidget*>();
    std::for_each(parts.crbegin(), parts.crend(), [](const QWidget* each) {
        if (each->layout() != nullptr)
            each->layout()->activate(); // from within, so that all is in its place
    });
    const QString path = m_folder + u'/' + name + u".png"_s;
    constexpr int smallest = 0; // of file, not of picture: PNG loses nothing
    if (!window.grab().save(path, "PNG", smallest))
        faults().append(u"can't write "_s + path);
}

void Visitor::press(const QString& name)
{
    if (auto* button = find<QAbstractButton>(name))
        button->click();
}

void Visitor::type(const QString& name, const QString& text)
{
    auto* field = find<QLineEdit>(name);
    if (field == nullptr)
        return;
    field->selectAll();
    for (const QChar letter : text) {
        QKeyEvent key(QEvent::KeyPress, 0, Qt::NoModifier, letter);
        QApplication::sendEvent(field, &key);
    }
}

void Visitor::confirmFile(const QString& path)
{
    if (!turnUntil([] { return !inView<QFileDialog>().isEmpty(); })) {
        faults().append(u"no file dialog for "_s + path);
        return;
    }
    QFileDialog* dialog = inView<QFileDialog>().first();
    dialog->findChild<QLineEdit*>(u"fileNameEdit"_s)->setText(path);
    press(u"&Save"_s);
}

bool Visitor::sees(const QString& text)
{
    for (const QLabel* each : inView<QLabel>()) {
        if (each->text().contains(text))
            return true;
    }
    for (const QPlainTextEdit* each : inView<QPlainTextEdit>()) {
        if (each->toPlainText().contains(text))
            return true;
    }
    for (const QTextEdit* each : inView<QTextEdit>()) {
        if (each->toPlainText().contains(text))
            return true;
    }
    return false;
}
