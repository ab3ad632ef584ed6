# Compiles the GPU's kernels to SPIR-V, checks them and makes a header of each for src/gpu/kernel_table.cpp.

find_program(MORVA_GLSLANG glslangValidator REQUIRED)
find_program(MORVA_SPIRV_VAL spirv-val REQUIRED)
set(MORVA_EMBED_KERNEL ${CMAKE_CURRENT_LIST_DIR}/EmbedKernel.cmake)

# Sets `out_headers` to one generated header for each MORVA_KERNEL(name) in `list`. Each defines an array of
# words, `<name>_code`; `folder` takes them and all_kernels.inc, which includes them all.
function(morva_compile_kernels out_headers list source_dir folder)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  file(STRINGS ${list} rows REGEX "^MORVA_KERNEL")
  file(GLOB shared CONFIGURE_DEPENDS ${source_dir}/*.hlsli ${source_dir}/*.h)
  file(MAKE_DIRECTORY ${folder})
  set(headers "")
  set(includes "")
  foreach(row ${rows})
    string(REGEX REPLACE "MORVA_KERNEL\\((.*)\\)" "\\1" name ${row})
    set(source ${source_dir}/${name}.hlsl)
    if(NOT EXISTS ${source})
      message(FATAL_ERROR "${list} names the kernel ${name}, but there is no ${source}")
    endif()
    set(code ${folder}/${name}.spv)
    set(header ${folder}/${name}.h)
    add_custom_command(OUTPUT ${header} BYPRODUCTS ${code}
      COMMAND ${MORVA_GLSLANG} -D -e main -S comp -V --quiet --target-env vulkan1.1 -I${source_dir} ${source} -o ${code}
      COMMAND ${MORVA_SPIRV_VAL} --target-env vulkan1.1 ${code}
      COMMAND ${CMAKE_COMMAND} -DNAME=${name} -DCODE=${code} -DHEADER=${header} -P ${MORVA_EMBED_KERNEL}
      DEPENDS ${source} ${shared} ${MORVA_EMBED_KERNEL}
      COMMENT "Compiling kernel ${name}" VERBATIM)
    list(APPEND headers ${header})
    string(APPEND includes "#include \"${name}.h\"\n")
  endforeach()
  file(CONFIGURE OUTPUT ${folder}/all_kernels.inc CONTENT "${includes}" @ONLY)
  set(${out_headers} ${headers} PARENT_SCOPE)
endfunction()
