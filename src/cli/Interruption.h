#pragma once

#include <QObject>

/// Turns SIGINT, SIGTERM and SIGHUP into a signal on the main loop while it lives; what they did
/// before comes back afterwards. One that the program was started to ignore stays ignored. There is
/// one such object at a time.
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
