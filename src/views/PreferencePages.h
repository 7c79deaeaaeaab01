#pragma once

#include <QCoro/QCoroTask>
#include <QPointer>
#include <QWidget>

#include <functional>

class NumberField;
class QLabel;
class QLineEdit;
class QPushButton;
class SegmentedPicker;
class SettingsManager;
class Toggle;

/// The settings of names, folders and steps. `settings` outlives these widgets.
class WorkflowSettingsPage : public QWidget {
    Q_OBJECT
public:
    explicit WorkflowSettingsPage(SettingsManager& settings, QWidget* parent = nullptr);

private:
    void refresh();
    void chooseFolder();

    SettingsManager& m_settings;
    QLineEdit* m_template;
    QLineEdit* m_folder;
    Toggle* m_skip;
};

/// The settings of the image that is built.
class BuildSettingsPage : public QWidget {
    Q_OBJECT
public:
    explicit BuildSettingsPage(SettingsManager& settings, QWidget* parent = nullptr);

private:
    void refresh();

    SettingsManager& m_settings;
    SegmentedPicker* m_compression;
    NumberField* m_width;
    NumberField* m_height;
};

/// The settings of this program's own traces.
class EnvironmentSettingsPage : public QWidget {
    Q_OBJECT
public:
    /// Removes what this program has left behind and gives what to tell the user of it.
    using ClearCache = std::function<QCoro::Task<QString>()>;

    explicit EnvironmentSettingsPage(ClearCache clearCache, QWidget* parent = nullptr);

private:
    static QCoro::Task<> clearing(
        QPointer<EnvironmentSettingsPage> self, QCoro::Task<QString> operation);

    ClearCache m_clearCache;
    QPushButton* m_clear;
    QLabel* m_result;
};

/// What this program is.
class AboutSettingsPage : public QWidget {
    Q_OBJECT
public:
    explicit AboutSettingsPage(SettingsManager& settings, QWidget* parent = nullptr);
};
