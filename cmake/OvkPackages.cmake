# Three Debian packages, one a component: `cpack` in a build directory that was configured with -DCMAKE_INSTALL_PREFIX=/usr.
find_program(OVK_GZIP gzip REQUIRED)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "ovk maintainers <maintainers@ovk.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET ovk_tool)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR}/src)

set(library_package libovk${PROJECT_VERSION_MAJOR})
set(same_version "${library_package} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "field bus SDK (shared library)
Takes part in a local field bus of controllers and sensors: reads and writes
16-bit registers of others, asks for tag values, and answers such requests.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libovk-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ${same_version})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS ovk)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "field bus SDK (development files)
Headers, files for CMake and pkg-config; documentation and examples, which
are in /usr/share/doc/ovk.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME ovk)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS ${same_version})
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS libovk-dev)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "field bus SDK (command-line tool)
Reads, writes, lists and simulates the devices of a local field bus.")

# Files that only packages have. Their rules belong to no plain install.
function(install_compressed file name directory component)
  set(compressed ${CMAKE_CURRENT_BINARY_DIR}/packages/${component}/${name}.gz)
  configure_file(${file} ${CMAKE_CURRENT_BINARY_DIR}/packages/${component}/${name} @ONLY)
  execute_process(COMMAND ${OVK_GZIP} -9nc ${CMAKE_CURRENT_BINARY_DIR}/packages/${component}/${name}
    OUTPUT_FILE ${compressed} COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${compressed} DESTINATION ${directory} COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} key)
  set(directory ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${key}_PACKAGE_NAME})
  install(FILES packaging/copyright DESTINATION ${directory} COMPONENT ${component} EXCLUDE_FROM_ALL)
  install_compressed(packaging/changelog.in changelog.Debian ${directory} ${component})
endforeach()
if(TARGET ovk_tool)
  install_compressed(tools/ovk.1 ovk.1 ${CMAKE_INSTALL_MANDIR}/man1 tool)
  install_compressed(tools/ovk-files.5 ovk-files.5 ${CMAKE_INSTALL_MANDIR}/man5 tool)
endif()

set(triggers ${CMAKE_CURRENT_BINARY_DIR}/packages/triggers)
file(WRITE ${triggers} "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${triggers})
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/OvkPackageScripts.cmake)

include(CPack)
