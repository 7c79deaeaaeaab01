#include "build/FinderLayoutScript.h"

#include "platform/Paths.h"

#include <cmath>
#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// The retries are the Finder's share of the bargain: it shows a fresh volume's window late, refuses
// view options for a while after a view change, and forgets the text size unless its window is made
// to draw anew. Blanks at the ends of lines belong to the text, which is kept byte for byte.
constexpr QStringView layoutTemplate = uR"SCRIPT(tell application "Finder"
    activate
    delay 0.5
    
    set diskPath to (POSIX file "%MOUNT_PATH%") as alias
    set diskName to "%VOLUME_NAME%"
    
    -- Open the disk window
    open diskPath
    
    -- Robust Wait for Window (loop up to 10s)
    set targetWindow to missing value
    repeat with i from 1 to 20
        try
            if exists container window of disk diskName then
                set targetWindow to container window of disk diskName
                exit repeat
            end if
        end try
        delay 0.5
    end repeat
    
    if targetWindow is missing value then
        error "Timeout waiting for DMG window to open."
    end if
    
    delay 0.5 -- Give Finder a breath
    
    -- Apply View Settings & Options (Combined Retry)
    repeat with attempt from 1 to 5
        try
            tell targetWindow
                set current view to icon view
                set toolbar visible to false
                set statusbar visible to false
                set the bounds to {400, 100, %RIGHT%, %BOTTOM%}
            end tell
            
            delay 0.5 -- Allow Finder to propagate view change before accessing options
            
            -- Use explicit variable for options to avoid identifier ambiguity
            set viewOpts to icon view options of targetWindow
            tell viewOpts
                set arrangement to not arranged
                set icon size to %ICON_SIZE%
                set text size to %TEXT_SIZE%
                
                %BACKGROUND_COMMAND%
            end tell
            
            -- Force Finder Refresh (Fix for ignored text size)
            -- Toggle target to parent and back to force re-render
            set currentTarget to target of targetWindow
            set target of targetWindow to container of currentTarget
            delay 0.2
            set target of targetWindow to currentTarget
            delay 0.5
            
            -- If we reach here, Success
            exit repeat
        on error errMsg
            -- log "Attempt " & attempt & " failed: " & errMsg
            delay 1
        end try
    end repeat
    
    delay 0.5    -- Position Items
    try
        set position of item "%APP_ITEM%" of disk diskName to {%APP_X%, %APP_Y%}
        set position of item "Applications" of disk diskName to {%LINK_X%, %LINK_Y%}
    end try
    
    -- Final Update and Close
    update diskPath without registering applications
    delay 1
    close targetWindow
end tell)SCRIPT";

// How far the Finder sets an icon below the place that it is given.
constexpr double labelOffset = 22;

QString wholeNumber(double value)
{
    // Beyond these the conversion has no defined result.
    constexpr double limit = 9.0e18;
    if (std::isnan(value))
        return u"0"_s;
    return QString::number(static_cast<qint64>(std::clamp(value, -limit, limit)));
}

QString windowEdge(qint64 anchor, qint64 length)
{
    return QString::number(std::min(length, std::numeric_limits<qint64>::max() - anchor) + anchor);
}

QString backgroundCommand(const QString& mountPoint, const std::optional<QString>& backgroundPath)
{
    if (!backgroundPath)
        return u"set background picture to none"_s;
    return u"set background picture to (POSIX file \""_s + joinedPath(mountPoint, *backgroundPath)
        + u"\") as alias"_s;
}

} // namespace

QString finderLayoutScript(const QString& mountPoint, const QString& volumeName,
    const DMGConfig& job, const std::optional<QString>& backgroundPath)
{
    const std::pair<QStringView, QString> values[] = {
        {u"MOUNT_PATH", mountPoint},
        {u"VOLUME_NAME", volumeName},
        {u"RIGHT", windowEdge(400, job.windowWidth)},
        {u"BOTTOM", windowEdge(100, job.windowHeight)},
        {u"ICON_SIZE", QString::number(job.iconSize)},
        {u"TEXT_SIZE", QString::number(job.fontSize)},
        {u"BACKGROUND_COMMAND", backgroundCommand(mountPoint, backgroundPath)},
        {u"APP_ITEM", job.appURL ? lastPathComponent(*job.appURL) : u"App"_s},
        {u"APP_X", wholeNumber(job.appIconPosition.x())},
        {u"APP_Y", wholeNumber(job.appIconPosition.y() - labelOffset)},
        {u"LINK_X", wholeNumber(job.appsSymlinkPosition.x())},
        {u"LINK_Y", wholeNumber(job.appsSymlinkPosition.y() - labelOffset)},
    };

    // The template has no percent sign but those around a name, and each name once and in the
    // order above: every second piece is the next value. Nothing inserted is looked at again.
    QString script;
    bool isPlaceholder = false;
    const auto* value = std::begin(values);
    for (const QStringView piece : layoutTemplate.split(u'%')) {
        if (isPlaceholder) {
            Q_ASSERT(piece == value->first);
            script += (value++)->second;
        } else {
            script += piece;
        }
        isPlaceholder = !isPlaceholder;
    }
    return script;
}
