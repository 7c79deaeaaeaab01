#pragma once

#include <QWidget>

class ConfigWrapper;
class ElidedLabel;

/// The finished image's name and folder, with a button that copies its path.
class ImageRow : public QWidget {
    Q_OBJECT
public:
    /// `job` outlives this widget. `symbolColumn`, in points, is as wide as the symbols of the rows
    /// above, so that the texts stand in one line.
    explicit ImageRow(
        ConfigWrapper& job, int symbolColumn = narrowestColumn, QWidget* parent = nullptr);

private:
    static constexpr int narrowestColumn = 24;

    void refresh();

    ConfigWrapper& m_job;
    ElidedLabel* m_name;
    ElidedLabel* m_folder;
};
