#pragma once

#include <QObject>

/// Turns SIGINT, SIGTERM and SIGHUP into a signal on the main loop while it lives; what they did
/// before comes back afterwards. One that the program was started to ignore stays ignored.
///
/// Objects may live within the life of another: all of them hear of a signal, and one that begins
/// after it hears of it, too. So a command that consists of others holds one throughout.
class Interruption : public QObject {
    Q_OBJECT
public:
    Interruption();
    ~Interruption() override;

    /// True from the moment of the signal on, before `requested` has come through the main loop. A
    /// terminal sends the signal to the tools, too, and a tool's end may be heard of first.
    bool isRequested() const;

signals:
    /// Once or more: a user may press the keys again.
    void requested();
};
