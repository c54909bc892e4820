# Writes the manual page OUTPUT from the Markdown document SOURCE with the program LOWDOWN. NAME, SECTION, DESCRIPTION and
# VERSION are those of the page.

file(READ "${SOURCE}" text)
# Links lead nowhere in a terminal.
string(REGEX REPLACE "\\[([^]]*)\\]\\([^)]*\\)" "\\1" text "${text}")
# The title gives way to the page's name, and all other headings move up to its level.
set(name "# Name\n\n${NAME} - ${DESCRIPTION}\n\n")
if(text MATCHES "^# [^\n]*\n\n## ")
    string(REGEX REPLACE "^# [^\n]*\n\n" "${name}" text "${text}")
else()
    string(REGEX REPLACE "^# [^\n]*\n" "${name}# Description\n" text "${text}")
endif()
string(REPLACE "\n##" "\n#" text "${text}")
file(WRITE "${OUTPUT}.md" "${text}")

string(TIMESTAMP date "%Y-%m-%d" UTC)
execute_process(
    COMMAND "${LOWDOWN}" -s -Tman -M "title=${NAME}" -M "section=${SECTION}" -M "date=${date}" -M "source=tavo ${VERSION}"
        "${OUTPUT}.md"
    OUTPUT_VARIABLE page COMMAND_ERROR_IS_FATAL ANY)
# mandoc knows no font of this name, and wants no paragraph right behind a heading.
string(REPLACE "\\fC" "\\fB" page "${page}")
string(REGEX REPLACE "(\n\\.S[HS]\n[^\n]*)\n\\.[LP]P\n" "\\1\n" page "${page}")
string(REGEX MATCHALL "\n\\.SH\n[^\n]*" headings "${page}")
foreach(heading IN LISTS headings)
    string(TOUPPER "${heading}" upper)
    string(REPLACE "${heading}\n" "${upper}\n" page "${page}")
endforeach()
file(WRITE "${OUTPUT}" "${page}")
