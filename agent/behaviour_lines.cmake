# Makes a header of the named lines of docs/behaviour.md, so that the program can quote them without a copy.
#
#   set(behaviour_page docs/behaviour.md)
#   set(behaviour_template BehaviourLines.h.in)
#   set(behaviour_header <build folder>/BehaviourLines.h)
#   include(behaviour_lines.cmake)
#
# A line is named by an anchor at its beginning: - <a id="last-values"></a>These two keep ...
cmake_policy(VERSION 3.25)  # where it is run alone
file(READ ${behaviour_page} rest)
set(rest "\n${rest}")
set(behaviour_names "")
set(behaviour_lines "")
while(rest MATCHES "\n- <a id=\"([a-z0-9-]+)\"></a>([^\n]+)")
  set(found "${CMAKE_MATCH_0}")
  set(name "${CMAKE_MATCH_1}")
  set(text "${CMAKE_MATCH_2}")
  if(name IN_LIST behaviour_names)
    message(FATAL_ERROR "${behaviour_page}: two lines are named \"${name}\"; a name is one line's")
  endif()
  list(APPEND behaviour_names ${name})
  string(APPEND behaviour_lines "    {\"${name}\", R\"line(${text})line\"},\n")
  string(REPLACE "${found}" "" rest "${rest}")
endwhile()

if(rest MATCHES "[^\n]*<a [^\n]*")
  message(FATAL_ERROR "${behaviour_page}: \"${CMAKE_MATCH_0}\": a line is named by "
    "<a id=\"words-in-lower-case\"></a> at its beginning, before its text")
endif()
list(LENGTH behaviour_names behaviour_count)
if(behaviour_count EQUAL 0)
  message(FATAL_ERROR "${behaviour_page}: no line is named, by <a id=\"words-in-lower-case\"></a>")
endif()
configure_file(${behaviour_template} ${behaviour_header} @ONLY)
