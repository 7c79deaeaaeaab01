#include "model/DMGConfig.h"

#include "model/SettingsManager.h"

#include <cmath>
#include <limits>

namespace {

/// Cut toward zero; what no integer can hold becomes the nearest one, what is no number 0.
qint64 wholePoints(double points)
{
    constexpr double limit = 9223372036854775808.0; // 2^63, the first that doesn't fit
    if (std::isnan(points))
        return 0;
    if (points >= limit)
        return std::numeric_limits<qint64>::max();
    if (points < -limit)
        return std::numeric_limits<qint64>::min();
    return static_cast<qint64>(points);
}

/// QPointF's own comparison takes neighbouring positions for equal.
bool samePlace(const QPointF& a, const QPointF& b)
{
    return a.x() == b.x() && a.y() == b.y();
}

} // namespace

DMGConfig DMGConfig::newJob(const SettingsManager& settings)
{
    DMGConfig job;
    job.windowWidth = wholePoints(settings.defaultWindowWidth());
    job.windowHeight = wholePoints(settings.defaultWindowHeight());
    return job;
}

void DMGConfig::applyArrangement(IconLayout arrangement)
{
    const std::optional<IconPlaces> places = placesOf(arrangement);
    if (!places)
        return;
    const auto width = static_cast<double>(windowWidth);
    const auto height = static_cast<double>(windowHeight);
    appIconPosition = QPointF(places->appX * width, places->y * height);
    appsSymlinkPosition = QPointF(places->linkX * width, places->y * height);
}

void DMGConfig::chooseArrangement(IconLayout arrangement)
{
    layout = arrangement;
    applyArrangement(arrangement);
}

void DMGConfig::resizeWidth(qint64 width)
{
    windowWidth = width;
    applyArrangement(layout);
}

void DMGConfig::resizeHeight(qint64 height)
{
    windowHeight = height;
    applyArrangement(layout);
}

void DMGConfig::moveAppX(double x)
{
    appIconPosition.setX(x);
    layout = IconLayout::custom;
}

void DMGConfig::moveAppY(double y)
{
    appIconPosition.setY(y);
    layout = IconLayout::custom;
}

void DMGConfig::moveLinkX(double x)
{
    appsSymlinkPosition.setX(x);
    layout = IconLayout::custom;
}

void DMGConfig::moveLinkY(double y)
{
    appsSymlinkPosition.setY(y);
    layout = IconLayout::custom;
}

bool DMGConfig::operator==(const DMGConfig& other) const
{
    return id == other.id && appURL == other.appURL && outputURL == other.outputURL
        && volumeName == other.volumeName && layout == other.layout
        && backgroundURL == other.backgroundURL && windowWidth == other.windowWidth
        && windowHeight == other.windowHeight && samePlace(appIconPosition, other.appIconPosition)
        && samePlace(appsSymlinkPosition, other.appsSymlinkPosition) && iconSize == other.iconSize
        && fontSize == other.fontSize;
}
