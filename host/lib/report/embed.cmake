# Makes the report page's C++ source: host/lib/report/report.html with the chart library,
# our stylesheet and script inlined, cut into three parts where the run's data and the
# timeline go. Run as: cmake -DREPORT_DIR=... -DDYGRAPHS_DIR=... -DOUTPUT=... -P embed.cmake
file(READ ${REPORT_DIR}/report.html page)
file(READ ${REPORT_DIR}/report.css report_css)
file(READ ${REPORT_DIR}/report.js report_js)
file(READ ${DYGRAPHS_DIR}/dygraph.min.js dygraphs_js)
file(READ ${DYGRAPHS_DIR}/dygraph.min.css dygraphs_css)
# Nothing may be fetched when the file is opened, not even a source map.
string(REGEX REPLACE "\n?//# sourceMappingURL=[^\n]*" "" dygraphs_js "${dygraphs_js}")
string(REGEX REPLACE "/\\*# sourceMappingURL=[^*]*\\*/" "" dygraphs_css "${dygraphs_css}")

string(REPLACE "@DYGRAPHS_CSS@" "${dygraphs_css}" page "${page}")
string(REPLACE "@REPORT_CSS@" "${report_css}" page "${page}")
string(REPLACE "@DYGRAPHS_JS@" "${dygraphs_js}" page "${page}")
string(REPLACE "@REPORT_JS@" "${report_js}" page "${page}")

string(FIND "${page}" "@REPORT_DATA@" data_at)
string(FIND "${page}" "@REPORT_TIMELINE@" timeline_at)
if(data_at LESS 0 OR timeline_at LESS data_at)
  message(FATAL_ERROR "report.html needs @REPORT_DATA@, then @REPORT_TIMELINE@")
endif()
string(LENGTH "@REPORT_DATA@" data_len)
string(LENGTH "@REPORT_TIMELINE@" timeline_len)
math(EXPR middle_at "${data_at} + ${data_len}")
math(EXPR middle_len "${timeline_at} - ${middle_at}")
math(EXPR tail_at "${timeline_at} + ${timeline_len}")
string(SUBSTRING "${page}" 0 ${data_at} part0)
string(SUBSTRING "${page}" ${middle_at} ${middle_len} part1)
string(SUBSTRING "${page}" ${tail_at} -1 part2)

set(delimiter "mdxpage")
foreach(part part0 part1 part2)
  string(FIND "${${part}}" ")${delimiter}\"" clash)
  if(NOT clash EQUAL -1)
    message(FATAL_ERROR "the report page holds the raw string delimiter ${delimiter}")
  endif()
endforeach()

file(WRITE ${OUTPUT}.tmp
  "// Made by host/lib/report/embed.cmake from host/lib/report/ and the dygraphs package.\n"
  "namespace nexhost {\n"
  "extern const char* const kReportPage[3];\n"
  "const char* const kReportPage[3] = {\n"
  "R\"${delimiter}(${part0})${delimiter}\",\n"
  "R\"${delimiter}(${part1})${delimiter}\",\n"
  "R\"${delimiter}(${part2})${delimiter}\"};\n"
  "}  // namespace nexhost\n")
file(RENAME ${OUTPUT}.tmp ${OUTPUT})
