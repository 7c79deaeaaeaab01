tell application "Finder"
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
end tell