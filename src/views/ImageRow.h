#pragma once

#include <QWidget>

class ConfigWrapper;
class ElidedLabel;

/// The finished image's name and folder, with a button that copies its path.
class ImageRow : public QWidget {
    Q_OBJECT
public:
    /// `job` outlives this widget.
    explicit ImageRow(ConfigWrapper& job, QWidget* parent = nullptr);

private:
    void refresh();

    ConfigWrapper& m_job;
    ElidedLabel* m_name;
    ElidedLabel* m_folder;
};
