#pragma once

#include <QWidget>

#include <functional>

class ConfigWrapper;
class ElidedLabel;
class FileIcons;
class LayoutPreview;
class NumberField;
class QLabel;
class QLineEdit;
class QSlider;
class SegmentedPicker;
struct DMGConfig;

/// The step in which the image's window is shaped, against a preview. Every change reaches the job
/// on a later turn of the main loop.
class ConfigurationView : public QWidget {
    Q_OBJECT
public:
    /// `job` and `icons` outlive this widget.
    ConfigurationView(ConfigWrapper& job, FileIcons& icons, QWidget* parent = nullptr);

private:
    /// A chosen file with a button that copies its path.
    struct AssetRow {
        QWidget* whole = nullptr;
        ElidedLabel* name = nullptr;
    };
    /// A number in words of the user, and what a change of it does to the job.
    struct Slider {
        QSlider* slider = nullptr;
        QLabel* value = nullptr;
    };

    QWidget* makeForm();
    QWidget* makePreview(FileIcons& icons);
    AssetRow makeAssetRow(const QString& symbol, const QString& copyPurpose,
        std::function<QString(const DMGConfig&)> path);
    NumberField* makeNumber(
        const QString& name, const std::function<void(DMGConfig&, double)>& change);
    Slider makeSlider(const QString& name, int first, int last, int step,
        const std::function<void(DMGConfig&, int)>& change);
    QWidget* coordinates(const QString& title, NumberField* x, NumberField* y);
    void refresh();

    ConfigWrapper& m_job;
    AssetRow m_application;
    AssetRow m_background;
    QLabel* m_noAssets = nullptr;
    QLineEdit* m_volumeName = nullptr;
    SegmentedPicker* m_layout = nullptr;
    NumberField* m_width = nullptr;
    NumberField* m_height = nullptr;
    NumberField* m_appX = nullptr;
    NumberField* m_appY = nullptr;
    NumberField* m_linkX = nullptr;
    NumberField* m_linkY = nullptr;
    Slider m_iconSize;
    Slider m_fontSize;
    LayoutPreview* m_preview = nullptr;
};
