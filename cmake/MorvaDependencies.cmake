# Every outside library, with the reason for it. All are Debian 12 packages under permissive licences.

find_package(PkgConfig REQUIRED)

# nlohmann-json (MIT): options and profiles are JSON.
find_package(nlohmann_json 3.11 REQUIRED)

# libjpeg-turbo (BSD/IJG), libpng (libpng), libtiff (BSD-like), libwebp (BSD): the ordinary picture
# files. Four small libraries load in under a millisecond; an all-in-one image library pulls in
# hundreds of shared objects.
find_package(JPEG REQUIRED)
find_package(PNG REQUIRED)
find_package(TIFF REQUIRED)
pkg_check_modules(WEBP REQUIRED IMPORTED_TARGET libwebp)

# libexif (LGPL, linked dynamically): camera, lens and orientation of those files.
pkg_check_modules(EXIF REQUIRED IMPORTED_TARGET libexif)

# The host only. CLI11 (BSD): the command line. OpenEXR (BSD): scene-linear files.
# Little CMS (MIT): the ICC profile that goes into every encoded picture.
find_package(CLI11 REQUIRED)
pkg_check_modules(OPENEXR REQUIRED IMPORTED_TARGET OpenEXR)
pkg_check_modules(LCMS REQUIRED IMPORTED_TARGET lcms2)

# GoogleTest (BSD) and Debian's Python with numpy, scipy and Pillow (BSD/MIT-like): the tests and
# the peers that the numerics are held against.
if(MORVA_BUILD_TESTS)
  find_package(GTest REQUIRED)
  find_program(MORVA_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
endif()

# Google Benchmark (Apache 2): timings of single routines.
if(MORVA_BUILD_BENCH)
  find_package(benchmark REQUIRED)
  find_program(MORVA_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
endif()
