# APO.dll: the library as the audio engine loads it, with no dependency beyond the system's own.
enable_language(RC)

# The type library, where the interface compiler is at hand.
find_program(QUORVEL_WIDL NAMES ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-widl widl)
set(type_library "")
if(QUORVEL_WIDL)
  set(type_library_file ${CMAKE_CURRENT_BINARY_DIR}/ApoDllWrapper.tlb)
  add_custom_command(OUTPUT ${type_library_file}
    COMMAND ${QUORVEL_WIDL} -t -o ${type_library_file} ${CMAKE_CURRENT_SOURCE_DIR}/ApoDllWrapper.idl
    DEPENDS ApoDllWrapper.idl)
  set(type_library "1 TYPELIB \"${type_library_file}\"")
  set_property(SOURCE ${CMAKE_CURRENT_BINARY_DIR}/APO.rc
    APPEND PROPERTY OBJECT_DEPENDS ${type_library_file})
endif()
configure_file(resources/APO.rc.in APO.rc @ONLY)

add_library(APO SHARED
  dll_exports.cpp
  resources/APO.def
  ${CMAKE_CURRENT_BINARY_DIR}/APO.rc)
set_target_properties(APO PROPERTIES PREFIX "")
target_link_libraries(APO PRIVATE quorvel)
# Undecorated exports on x86; byte-identical rebuilds; the compiler's libraries inside.
target_link_options(APO PRIVATE
  -static -Wl,--enable-stdcall-fixup -s -Wl,--no-insert-timestamp)
