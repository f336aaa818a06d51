# What is installed where. The component of a rule is the Debian package that its files go into: runtime (libovk1),
# development (libovk-dev) or tool (ovk). Nothing installed names the prefix, so the tree may be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ovk)
install(TARGETS ovk EXPORT ovk
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT ovk FILE ovkConfig.cmake NAMESPACE ovk:: DESTINATION ${package_dir} COMPONENT development)
write_basic_package_version_file(ovkConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ovkConfigVersion.cmake DESTINATION ${package_dir} COMPONENT development)

if(NOT OVK_PLATFORM STREQUAL "local")
  set(not_there PATTERN local_platform.h EXCLUDE)
endif()
install(DIRECTORY include/ovk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development ${not_there})

set(pkgconfig_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_prefix ${pkgconfig_dir} ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH pc_includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
file(RELATIVE_PATH pc_libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
configure_file(cmake/ovk.pc.in ovk.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ovk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development FILES_MATCHING PATTERN *.md)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
  PATTERN *.sh PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

if(TARGET ovk_tool)
  file(RELATIVE_PATH from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr") # where the loader looks by itself
    set_target_properties(ovk_tool PROPERTIES INSTALL_RPATH $ORIGIN/${from_bin})
  endif()
  install(TARGETS ovk_tool RUNTIME COMPONENT tool)
  # The packages hold these compressed.
  install(FILES tools/ovk.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT manual)
  install(FILES tools/ovk-files.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT manual)
  install(FILES tools/completion.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ovk
    COMPONENT tool)
endif()
