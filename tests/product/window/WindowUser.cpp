#include "WindowUser.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QLabel>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QTest>
#include <QTextEdit>
#include <QUrl>
#include <QWindow>

#include <gtest/gtest.h>

namespace {

QString textOf(const QWidget* widget)
{
    if (const auto* button = qobject_cast<const QAbstractButton*>(widget))
        return button->text();
    if (const auto* label = qobject_cast<const QLabel*>(widget))
        return label->text();
    if (const auto* log = qobject_cast<const QPlainTextEdit*>(widget))
        return log->toPlainText();
    if (const auto* block = qobject_cast<const QTextEdit*>(widget))
        return block->toPlainText();
    return {};
}

} // namespace

QList<QWidget*> WindowUser::visibleWidgets()
{
    QList<QWidget*> visible;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible())
            continue;
        visible.append(window);
        for (QWidget* each : window->findChildren<QWidget*>()) {
            if (each->isVisible())
                visible.append(each);
        }
    }
    return visible;
}

QWidget* WindowUser::find(const QString& name)
{
    const QList<QWidget*> widgets = visibleWidgets();
    for (QWidget* each : widgets) {
        const bool takesInput = each->focusPolicy() != Qt::NoFocus || each->acceptDrops();
        if (each->accessibleName() == name && takesInput)
            return each;
    }
    for (QWidget* each : widgets) {
        if (qobject_cast<QAbstractButton*>(each) != nullptr && textOf(each) == name)
            return each;
    }
    return nullptr;
}

QWidget* WindowUser::control(const QString& name) const
{
    if (!waitUntil([&] { return find(name) != nullptr; })) {
        ADD_FAILURE() << "no '" << name.toStdString() << "' in view:\n"
                      << everythingInView().toStdString();
    }
    return find(name);
}

void WindowUser::click(const QString& name) const
{
    QWidget* target = control(name);
    if (target == nullptr)
        return;
    EXPECT_TRUE(target->isEnabled()) << name.toStdString();
    QTest::mouseClick(target, Qt::LeftButton);
    QApplication::processEvents();
}

void WindowUser::type(const QString& name, const QString& text) const
{
    typeInto(control(name), text);
}

void WindowUser::typeInto(QWidget* field, const QString& text) const
{
    ASSERT_NE(field, nullptr);
    QTest::mouseClick(field, Qt::LeftButton);
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    for (const QChar letter : text)
        QTest::sendKeyEvent(QTest::Click, field, Qt::Key_unknown, QString(letter), Qt::NoModifier);
}

void WindowUser::press(QWidget* target, Qt::Key key, Qt::KeyboardModifiers modifiers) const
{
    ASSERT_NE(target, nullptr);
    QTest::keyClick(target, key, modifiers);
    QApplication::processEvents();
}

QWindow* WindowUser::windowWithFocus()
{
    // A window manager activates another one when a dialog goes, this platform doesn't.
    if (QGuiApplication::focusWindow() == nullptr) {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->isVisible())
                window->activateWindow();
        }
    }
    EXPECT_TRUE(waitUntil([] { return QGuiApplication::focusWindow() != nullptr; }));
    return QGuiApplication::focusWindow();
}

void WindowUser::key(Qt::Key key, Qt::KeyboardModifiers modifiers) const
{
    QTest::keyClick(windowWithFocus(), key, modifiers);
    QApplication::processEvents();
}

void WindowUser::keys(const QString& text) const
{
    for (const QChar letter : text) {
        QTest::sendKeyEvent(
            QTest::Click, windowWithFocus(), Qt::Key_unknown, QString(letter), Qt::NoModifier);
    }
    QApplication::processEvents();
}

void WindowUser::tabTo(const QString& name, Qt::KeyboardModifiers modifiers) const
{
    constexpr int mostStops = 40; // of one screen
    const QWidget* target = control(name);
    QStringList stops;
    while (QApplication::focusWidget() != target && stops.size() < mostStops) {
        key(modifiers.testFlag(Qt::ShiftModifier) ? Qt::Key_Backtab : Qt::Key_Tab, modifiers);
        if (const QWidget* focus = QApplication::focusWidget())
            stops.append(focus->accessibleName() + u'/' + textOf(focus));
    }
    ASSERT_EQ(QApplication::focusWidget(), target)
        << "no way to '" << name.toStdString() << "' through:\n"
        << stops.join(u'\n').toStdString();
}

void WindowUser::drop(const QString& name, const QString& file) const
{
    dropOn(control(name), file);
}

void WindowUser::dropOn(QWidget* target, const QString& file) const
{
    ASSERT_NE(target, nullptr);
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(file)});
    const QPoint middle = target->rect().center();
    QDragEnterEvent enter(middle, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent event(middle, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &event);
    EXPECT_TRUE(event.isAccepted());
    QApplication::processEvents();
}

bool WindowUser::sees(const QString& text) const
{
    for (const QWidget* each : visibleWidgets()) {
        if (textOf(each).contains(text))
            return true;
    }
    return false;
}

bool WindowUser::waitUntil(const std::function<bool()>& holds)
{
    QElapsedTimer time;
    time.start();
    while (!holds()) {
        if (time.elapsed() > 60'000)
            return false;
        QApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
    }
    return true;
}

bool WindowUser::waitToSee(const QString& text) const
{
    return waitUntil([&] { return sees(text); });
}

QString WindowUser::everythingInView() const
{
    QStringList texts;
    for (const QWidget* each : visibleWidgets()) {
        const QString text = textOf(each);
        if (!text.isEmpty())
            texts.append(text);
    }
    return texts.join(u'\n');
}
