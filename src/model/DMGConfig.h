#pragma once

#include "model/IconLayout.h"

#include <QPointF>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <optional>

class SettingsManager;

/// One disk-image job. Sizes and positions are points of the Finder's window; a position is that
/// of an icon's centre as the icon view counts, from the top left.
///
/// Who edits positions or the window's size goes through the member functions, which keep the
/// arrangement and the positions consistent.
struct DMGConfig {
    /// Of the windows of the system that opens the image, either way.
    static constexpr int largestCoordinate = 32767;

    QUuid id = QUuid::createUuid(); // fixed at creation; copies share it
    std::optional<QUrl> appURL; // the application bundle
    std::optional<QUrl> outputURL; // the finished image
    QString volumeName = QStringLiteral("My App Installer");
    IconLayout layout = IconLayout::classic;
    std::optional<QUrl> backgroundURL; // no background without
    qint64 windowWidth = 600;
    qint64 windowHeight = 400;
    QPointF appIconPosition{140, 200};
    QPointF appsSymlinkPosition{460, 200};
    qint64 iconSize = 128;
    qint64 fontSize = 16;

    /// A fresh job of the user's preferred window size, cut to whole points.
    static DMGConfig newJob(const SettingsManager& settings);

    /// Puts both icons where `arrangement` wants them in the window as it is now, unrounded.
    /// Leaves `layout` alone.
    void applyArrangement(IconLayout arrangement);
    void chooseArrangement(IconLayout arrangement);
    /// The icons keep their relative places unless the layout is custom.
    void resizeWidth(qint64 width);
    void resizeHeight(qint64 height);
    /// The user moves an icon, which makes the layout custom.
    void moveAppX(double x);
    void moveAppY(double y);
    void moveLinkX(double x);
    void moveLinkY(double y);

    /// Every field, positions to the last bit.
    bool operator==(const DMGConfig& other) const;
};
