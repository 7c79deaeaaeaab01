# Puts the sample bundle together: -DBUNDLE -DPROGRAM -DLIBRARY -DICON -DRESOURCES.
# Made anew each time, so that nothing of an older one stays.

file(REMOVE_RECURSE "${BUNDLE}")
set(contents "${BUNDLE}/Contents")
set(framework "${contents}/Frameworks/Greeting.framework")
file(MAKE_DIRECTORY "${contents}/MacOS" "${framework}/Versions/A/Resources")

file(COPY_FILE "${PROGRAM}" "${contents}/MacOS/Hello Vandor")
file(COPY_FILE "${RESOURCES}/Info.plist" "${contents}/Info.plist")
file(WRITE "${contents}/PkgInfo" "APPL????")

file(COPY_FILE "${LIBRARY}" "${framework}/Versions/A/Greeting")
file(COPY_FILE "${RESOURCES}/Framework-Info.plist" "${framework}/Versions/A/Resources/Info.plist")
file(CREATE_LINK A "${framework}/Versions/Current" SYMBOLIC)
file(CREATE_LINK Versions/Current/Greeting "${framework}/Greeting" SYMBOLIC)
file(CREATE_LINK Versions/Current/Resources "${framework}/Resources" SYMBOLIC)

file(MAKE_DIRECTORY "${contents}/Resources")
file(COPY_FILE "${ICON}" "${contents}/Resources/HelloIcon.icns")

# Names as real applications have them: accents, other scripts, blanks, an apostrophe.
function(localized language file text)
    file(WRITE "${contents}/Resources/${language}.lproj/${file}" "${text}\n")
    file(WRITE "${contents}/Resources/${language}.lproj/InfoPlist.strings"
        "\"CFBundleDisplayName\" = \"Hello Vandor\";\n")
endfunction()
localized(en "What's new.txt" "This is the sample application.")
localized(fr "Présentation de l'été.txt" "Voici l'application d'exemple.")
localized(de "Über uns & größere Dinge.txt" "Das ist die Beispielanwendung.")
localized(ja "はじめに お読みください.txt" "これはサンプルアプリです。")
localized(zh-Hans "使用说明.txt" "这是示例应用程序。")
localized(ko "읽어 보세요.txt" "예제 응용 프로그램입니다.")
