# camapi_embed_files(OUTPUT file.cpp HEADER header.h NAMESPACE ns SYMBOL name FILES ...)
# Writes a C++ source that defines, in namespace NS, a table of the files' stems and texts:
#   const EmbeddedFile SYMBOL[]; const std::size_t SYMBOLCount;
# HEADER declares the table and `struct EmbeddedFile { std::string_view name; std::string_view text; };`.
function(camapi_embed_files)
  cmake_parse_arguments(EMBED "" "OUTPUT;HEADER;NAMESPACE;SYMBOL" "FILES" ${ARGN})
  set(rows "")
  foreach(file IN LISTS EMBED_FILES)
    get_filename_component(stem "${file}" NAME_WE)
    file(READ "${file}" text)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    string(APPEND rows "    {\"${stem}\", R\"~~~~(${text})~~~~\"},\n")
  endforeach()
  list(LENGTH EMBED_FILES count)
  file(CONFIGURE OUTPUT "${EMBED_OUTPUT}" @ONLY CONTENT
"// Generated from the files beside it; do not edit.
#include \"@EMBED_HEADER@\"

namespace @EMBED_NAMESPACE@ {
const EmbeddedFile @EMBED_SYMBOL@[] = {
@rows@};
const std::size_t @EMBED_SYMBOL@Count = @count@;
}  // namespace @EMBED_NAMESPACE@
")
endfunction()
