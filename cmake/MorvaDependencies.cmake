# Every outside library, with the reason for it. All are Debian 12 packages; those that are linked are under
# permissive licences or the LGPL.

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

# LibRaw (LGPL 2.1 or CDDL 1.0, linked dynamically): camera raw files. "_r" is its build for callers on more
# than one thread. It adds 0.6 ms to a program's start. Its OpenMP runtime (GPL with the exception that lets
# any program link it) comes with it and is named so that src/input can hold it to one thread; pkg-config's
# own flags would bring clang's runtime in beside it.
pkg_check_modules(LIBRAW REQUIRED libraw_r>=0.20)
find_library(MORVA_LIBRAW raw_r HINTS ${LIBRAW_LIBRARY_DIRS} REQUIRED)
add_library(morva_raw INTERFACE)
target_include_directories(morva_raw SYSTEM INTERFACE ${LIBRAW_INCLUDE_DIRS})
target_link_libraries(morva_raw INTERFACE ${MORVA_LIBRAW} gomp)

# libheif (LGPL 3): HEIF files. Only its header is used to build; the library is opened at the first HEIF
# (src/input/heif_library.h). Linked, it would add 5 ms to every start, three times all the other decoders
# together, and Debian's build drags in x265, an encoder under the GPL, which nothing here needs.
pkg_check_modules(HEIF REQUIRED libheif>=1.12)
add_library(morva_heif INTERFACE)
target_include_directories(morva_heif SYSTEM INTERFACE ${HEIF_INCLUDE_DIRS})
target_link_libraries(morva_heif INTERFACE ${CMAKE_DL_LIBS})

# stb (public domain), two headers. One reads the mask of blue noise (src/repro/blue_noise.cpp). The other turns
# the outlines of a TrueType font into pixels, for the letters of stamps. Which font that is, fontconfig (MIT)
# says; it is opened at the first stamp (src/finish/font_finder.cpp), without its header. Of fonts any bold sans
# serves; Debian's fonts-liberation2 has one.
find_path(MORVA_STB stb/stb_truetype.h REQUIRED)

# Vulkan: the GPU. Only its headers (Apache 2 or MIT) are used to build; the loader is opened at the first
# question for a GPU, so that a machine without one runs as ever. The kernels are HLSL, compiled by glslang
# (BSD) and checked by SPIRV-Tools (Apache 2), which are tools of the build alone.
find_path(MORVA_VULKAN vulkan/vulkan.h REQUIRED)
add_library(morva_vulkan INTERFACE)
target_include_directories(morva_vulkan SYSTEM INTERFACE ${MORVA_VULKAN})
target_compile_definitions(morva_vulkan INTERFACE VK_NO_PROTOTYPES)
target_link_libraries(morva_vulkan INTERFACE ${CMAKE_DL_LIBS})

# The host only. CLI11 (BSD): the command line. OpenEXR (BSD): scene-linear files.
# Little CMS (MIT): the ICC profile that goes into every encoded picture.
find_package(CLI11 REQUIRED)
pkg_check_modules(OPENEXR REQUIRED IMPORTED_TARGET OpenEXR)
pkg_check_modules(LCMS REQUIRED IMPORTED_TARGET lcms2)

# GoogleTest (BSD): the tests.
if(MORVA_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()

# Debian's Python with numpy, scipy and Pillow (BSD/MIT-like): the peers that the numerics are held against, in
# bits and in time.
if(MORVA_BUILD_TESTS OR MORVA_BUILD_BENCH)
  find_program(MORVA_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
endif()
