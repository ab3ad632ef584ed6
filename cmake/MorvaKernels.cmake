# Compiles the GPU's kernels to SPIR-V, checks them and makes a header of each for src/gpu/kernel_table.cpp.

find_program(MORVA_GLSLANG glslangValidator REQUIRED)
find_program(MORVA_SPIRV_VAL spirv-val REQUIRED)

# Sets `out_headers` to one generated header for each MORVA_KERNEL(name) in `list`. Each defines an array of
# words, `<name>_code`; `folder` takes them and all_kernels.inc, which includes them all.
function(morva_compile_kernels out_headers list source_dir folder)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  file(STRINGS ${list} rows REGEX "^MORVA_KERNEL")
  file(GLOB shared CONFIGURE_DEPENDS ${source_dir}/*.hlsli ${source_dir}/*.h)
  file(GLOB sources CONFIGURE_DEPENDS ${source_dir}/*.hlsl)
  file(MAKE_DIRECTORY ${folder})
  set(headers "")
  set(includes "")
  foreach(row ${rows})
    string(REGEX REPLACE "MORVA_KERNEL\\((.*)\\)" "\\1" name ${row})
    set(source ${source_dir}/${name}.hlsl)
    if(NOT EXISTS ${source})  # WHILE-BUILDING
      file(WRITE ${folder}/${name}.h "const uint32_t ${name}_code[] = {0};\n")
      list(APPEND headers ${folder}/${name}.h)
      string(APPEND includes "#include \"${name}.h\"\n")
      continue()
    endif()
    set(options -D -e main -S comp --target-env vulkan1.1 -I${source_dir})
    add_custom_command(OUTPUT ${folder}/${name}.h
      COMMAND ${MORVA_GLSLANG} ${options} -V --quiet ${source} -o ${folder}/${name}.spv
      COMMAND ${MORVA_SPIRV_VAL} --target-env vulkan1.1 ${folder}/${name}.spv
      COMMAND ${MORVA_GLSLANG} ${options} -V --quiet --vn ${name}_code ${source} -o ${folder}/${name}.h
      DEPENDS ${source} ${shared}
      COMMENT "Compiling kernel ${name}" VERBATIM)
    list(APPEND headers ${folder}/${name}.h)
    string(APPEND includes "#include \"${name}.h\"\n")
  endforeach()
  file(CONFIGURE OUTPUT ${folder}/all_kernels.inc CONTENT "${includes}" @ONLY)
  set(${out_headers} ${headers} PARENT_SCOPE)
endfunction()
