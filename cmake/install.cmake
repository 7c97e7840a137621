# Where `cmake --install` and the Debian package lay things.
include(GNUInstallDirs)

install(TARGETS quorvel EXPORT quorvel)
target_include_directories(quorvel INTERFACE
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/quorvel>)
set(folders apo base blocks client diagnostics dsp engine kinds platform profile)
if(NOT WIN32)
  # The stand-ins for Windows, for programs elsewhere.
  set_target_properties(quorvel_portable PROPERTIES EXPORT_NAME portable)
  set_target_properties(quorvel_simulation PROPERTIES EXPORT_NAME simulation)
  target_include_directories(quorvel_simulation INTERFACE
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/quorvel>)
  install(TARGETS quorvel_portable quorvel_simulation EXPORT quorvel)
endif()
foreach(folder ${folders})
  install(DIRECTORY ${folder} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quorvel
          FILES_MATCHING PATTERN "*.h")
endforeach()

# find_package(quorvel): quorvel::quorvel, and off Windows quorvel::simulation.
include(CMakePackageConfigHelpers)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/quorvel)
install(EXPORT quorvel NAMESPACE quorvel:: FILE quorvelTargets.cmake DESTINATION ${package})
file(WRITE ${PROJECT_BINARY_DIR}/quorvelConfig.cmake
  "include(CMakeFindDependencyMacro)\n"
  "find_dependency(Threads)\n"
  "include(\${CMAKE_CURRENT_LIST_DIR}/quorvelTargets.cmake)\n")
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quorvelConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quorvelConfig.cmake ${PROJECT_BINARY_DIR}/quorvelConfigVersion.cmake
        DESTINATION ${package})
if(NOT QUORVEL_TOOLS)
  return()
endif()

install(TARGETS quorvel_tool)
install(DIRECTORY profiles/ DESTINATION ${CMAKE_INSTALL_DATADIR}/quorvel/profiles)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})

configure_file(cmake/quorvel.pc.in quorvel.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/quorvel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The tool tells its own manual.
set(manual ${CMAKE_BINARY_DIR}/quorvel.1.gz)
set(completion ${CMAKE_BINARY_DIR}/quorvel.bash)
add_custom_command(
  OUTPUT ${manual} ${completion}
  COMMAND quorvel_tool manual man > ${CMAKE_BINARY_DIR}/quorvel.1
  COMMAND gzip -9nkf ${CMAKE_BINARY_DIR}/quorvel.1
  COMMAND quorvel_tool manual bash > ${completion}
  DEPENDS quorvel_tool
  VERBATIM)
add_custom_target(quorvel_manual ALL DEPENDS ${manual} ${completion})
install(FILES ${manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${completion} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME quorvel)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorvel)
set(CPACK_PACKAGE_CONTACT "Quorvel audio developers <audio@quorvel.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Headset audio profiles: library and tool")
set(CPACK_PACKAGE_DESCRIPTION
    "Renders sound through the profiles of a gaming headset, and writes, checks, draws and\ncompares them. Contains the library with its headers for configuration applications.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnuplot-nox, graphviz")
include(CPack)
