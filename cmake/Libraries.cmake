# Every library that the product calls, found once.

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Svg Widgets)
find_package(QCoro6 REQUIRED COMPONENTS Core)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(ZLIB REQUIRED)
find_package(BZip2 REQUIRED)
find_package(OpenSSL REQUIRED)
find_package(GTest REQUIRED)
find_package(benchmark REQUIRED)
pkg_check_modules(plist REQUIRED IMPORTED_TARGET libplist-2.0)
pkg_check_modules(deflate REQUIRED IMPORTED_TARGET libdeflate)
pkg_check_modules(lzma REQUIRED IMPORTED_TARGET liblzma)
pkg_check_modules(libarchive REQUIRED IMPORTED_TARGET libarchive)

set(CMAKE_AUTOMOC OFF)
