# cmake -DNAME=name -DCODE=name.spv -DHEADER=name.h -P EmbedKernel.cmake
# Writes a header with the array `<name>_code`: the 32-bit words of a compiled kernel, low byte first in the file.

file(READ ${CODE} bytes HEX)
string(REGEX REPLACE "(..)(..)(..)(..)" "0x\\4\\3\\2\\1,\n" words "${bytes}")
file(WRITE ${HEADER} "const uint32_t ${NAME}_code[] = {\n${words}};\n")
