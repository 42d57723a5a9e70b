# Writes the list of what a shared library shows: one demangled name a line, sorted by bytes.
#   cmake -DNM=nm -DLIBRARY=file.so -DRECORD=file -P RecordSymbols.cmake
execute_process(COMMAND "${NM}" -DC --defined-only "${LIBRARY}" OUTPUT_VARIABLE shown COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "[0-9a-f]+ [A-Za-z] " "" names "${shown}")
string(STRIP "${names}" names)
string(REPLACE ";" "\\;" names "${names}")
string(REPLACE "\n" ";" names "${names}")
list(REMOVE_DUPLICATES names)
list(SORT names)
list(JOIN names "\n" names)
file(WRITE "${RECORD}" "${names}\n")
