# Rooms: a folder of the library is a target that sees only the folders it may include.
#
#   quorvel_room(<folder> [SOURCES ...] [SHOWS <folder>...] [SEES <folder>...])
#
# SHOWS names the folders that its headers include, so whoever includes those may too; SEES those
# that only its sources include. Every room sees the headers of the platform seam. An include of
# any other folder does not compile: includes are written from the root of the tree, and a room is
# given a root of its own that holds nothing but its folder.
#
# The rooms' object files make up the library; on its own a room cannot be linked.
set(QUORVEL_ROOTS ${CMAKE_CURRENT_BINARY_DIR}/rooms)

# Makes the root of `folder` and stores its path in `result`. Where the host has no symbolic links
# the root of the tree serves, without walls.
function(quorvel_room_root folder result)
  string(REPLACE "/" "_" name ${folder})
  set(root ${QUORVEL_ROOTS}/${name})
  cmake_path(GET folder PARENT_PATH above)
  file(MAKE_DIRECTORY ${root}/${above})
  file(CREATE_LINK ${quorvel_SOURCE_DIR}/${folder} ${root}/${folder} RESULT failure SYMBOLIC)
  if(failure AND NOT EXISTS ${root}/${folder})
    set(root ${quorvel_SOURCE_DIR})
  endif()
  set(${result} ${root} PARENT_SCOPE)
endfunction()

# The flags that all targets of the project share, and those of a fuzzer's build.
function(quorvel_compile_options_for target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:quorvel_compile_options>)
  if(QUORVEL_FUZZ)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()

function(quorvel_room folder)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;SHOWS;SEES")
  string(REPLACE "/" "_" name ${folder})
  set(target quorvel_${name})
  quorvel_room_root(${folder} root)
  if(arg_SOURCES)
    add_library(${target} OBJECT ${arg_SOURCES})
    set(visible PUBLIC)
    quorvel_compile_options_for(${target})
    target_sources(quorvel PRIVATE $<TARGET_OBJECTS:${target}>)
  else()
    add_library(${target} INTERFACE)
    set(visible INTERFACE)
  endif()
  target_include_directories(${target} ${visible} ${root})
  target_include_directories(quorvel PUBLIC $<BUILD_INTERFACE:${root}>)
  if(NOT folder STREQUAL "platform")
    target_link_libraries(${target} ${visible} quorvel_platform)
  endif()
  foreach(shown ${arg_SHOWS})
    target_link_libraries(${target} ${visible} quorvel_${shown})
  endforeach()
  foreach(seen ${arg_SEES})
    target_link_libraries(${target} PRIVATE quorvel_${seen})
  endforeach()
  set_property(GLOBAL APPEND PROPERTY QUORVEL_ROOMS ${folder})
  # What the room may include, for the test that tries what it may not.
  file(GENERATE OUTPUT ${QUORVEL_ROOTS}/${name}.includes
    CONTENT "$<JOIN:$<REMOVE_DUPLICATES:$<TARGET_PROPERTY:${target},$<IF:$<BOOL:${arg_SOURCES}>,,INTERFACE_>INCLUDE_DIRECTORIES>>,\n>\n")
endfunction()
