#pragma once

#include <QUrl>
#include <QWidget>

#include <optional>

class ElidedLabel;

/// A finished image's name and folder, with a button that copies its path.
class ImageRow : public QWidget {
    Q_OBJECT
public:
    /// `symbolColumn`, in points, is as wide as the symbols of the rows above, so that the texts
    /// stand in one line.
    explicit ImageRow(int symbolColumn = narrowestColumn, QWidget* parent = nullptr);

    void setImage(const std::optional<QUrl>& image);

private:
    static constexpr int narrowestColumn = 24;

    std::optional<QUrl> m_image;
    ElidedLabel* m_name;
    ElidedLabel* m_folder;
};
