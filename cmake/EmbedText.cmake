# Writes the text file INPUT into the C++ source OUTPUT: `NAMEPieces` and `NAMEPieceCount` of the
# namespace NAMESPACE, declared in HEADER. Pieces end at the end of a line and stay below 16 KiB,
# the length of a string literal that every compiler accepts.
set(longest 12000)
set(mark "text")
file(READ "${INPUT}" text)
string(FIND "${text}" ")${mark}\"" closes)
if(NOT closes EQUAL -1)
  message(FATAL_ERROR "${INPUT} contains )${mark}\", which ends a raw string.")
endif()

set(pieces "")
set(count 0)
string(LENGTH "${text}" left)
while(left GREATER 0)
  string(SUBSTRING "${text}" 0 ${longest} piece)
  set(end ${left})
  if(left GREATER longest)
    string(FIND "${piece}" "\n" end REVERSE)
    if(end EQUAL -1)
      message(FATAL_ERROR "${INPUT} has a line of more than ${longest} bytes.")
    endif()
    math(EXPR end "${end} + 1")
  endif()
  string(SUBSTRING "${text}" 0 ${end} piece)
  string(SUBSTRING "${text}" ${end} -1 text)
  string(APPEND pieces "    R\"${mark}(${piece})${mark}\",\n")
  math(EXPR count "${count} + 1")
  string(LENGTH "${text}" left)
endwhile()

file(WRITE "${OUTPUT}" "// Made from ${SHOWN} when the program is built.
#include \"${HEADER}\"

namespace ${NAMESPACE} {

const char* const ${NAME}Pieces[] = {
${pieces}};
const u64 ${NAME}PieceCount = ${count};

} // namespace ${NAMESPACE}
")
