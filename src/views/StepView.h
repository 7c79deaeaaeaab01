#pragma once

#include <QStackedWidget>

class QVBoxLayout;

/// From top to bottom, with the distances that all screens of steps have.
QVBoxLayout* makeStepLayout(QWidget* screen);

/// A step's screen that has something to show only when the job has a certain file: two pages, one
/// of which explains what is missing.
class StepView : public QStackedWidget {
    Q_OBJECT
protected:
    explicit StepView(QWidget* parent = nullptr);

    /// The page for a job without the file.
    void setEmptyPage(QWidget* page);
    /// Where the content of the other page goes.
    QVBoxLayout* content() { return m_content; }
    void showContent(bool hasFile);

private:
    QVBoxLayout* m_content;
};
