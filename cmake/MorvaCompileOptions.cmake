# One set of flags for every target of the project.

add_library(morva_options INTERFACE)

if(MSVC)
  target_compile_options(morva_options INTERFACE /W4 /WX /utf-8 /fp:precise)
else()
  target_compile_options(morva_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Werror
    # Contraction would make the bits depend on the machine's instruction set. Fast-math stays off by
    # never being asked for: to say so here would undo the options of the vector objects below.
    -ffp-contract=off)
  if(MORVA_SANITIZE)
    target_compile_options(morva_options INTERFACE
      -fsanitize=${MORVA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(morva_options INTERFACE -fsanitize=${MORVA_SANITIZE})
    # In instrumented code g++ 12 sees overflows in std::vector::insert that are not there.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      target_compile_options(morva_options INTERFACE -Wno-stringop-overflow -Wno-array-bounds)
    endif()
  endif()
endif()

# Objects of the vector loops, one set for each instruction set. The sources are the same; the macro
# MORVA_ISA names the namespace that each set fills, so that all of them live in one library and the
# choice is made at run time (src/image/vector/isa.h).
function(morva_add_vector_objects out_objects)
  set(sources ${ARGN})
  set(objects "")
  foreach(isa baseline avx2 avx512)
    set(target morva_vector_${isa})
    add_library(${target} OBJECT ${sources})
    target_link_libraries(${target} PRIVATE morva_options)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src)
    target_compile_definitions(${target} PRIVATE MORVA_ISA=${isa})
    if(NOT MSVC)
      # Optimised in every build type: these loops are written for the vectoriser, which gives up on a
      # choice between two values where a comparison might trap or a root might set errno.
      target_compile_options(${target} PRIVATE -O3 -fno-math-errno -fno-trapping-math)
      if(isa STREQUAL "avx2")
        target_compile_options(${target} PRIVATE -mavx2)
      elseif(isa STREQUAL "avx512")
        target_compile_options(${target} PRIVATE
          -mavx512f -mavx512dq -mavx512bw -mavx512vl -mprefer-vector-width=512)
      endif()
    elseif(isa STREQUAL "avx2")
      target_compile_options(${target} PRIVATE /arch:AVX2)
    elseif(isa STREQUAL "avx512")
      target_compile_options(${target} PRIVATE /arch:AVX512)
    endif()
    list(APPEND objects $<TARGET_OBJECTS:${target}>)
  endforeach()
  set(${out_objects} ${objects} PARENT_SCOPE)
endfunction()
