# cmake --install: headers, libraries, the tools, and what find_package(zea) needs.
include(CMakePackageConfigHelpers)

set(zea_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zea)
# Where a library looks for the others: beside itself. Windows does so by itself.
set(zea_origin "$ORIGIN")
if(APPLE)
  set(zea_origin "@loader_path")
endif()
set_target_properties(zea zeakit PROPERTIES INSTALL_RPATH "${zea_origin}")
install(DIRECTORY include/zea foundation/include/qx kit/include/zeakit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN *.h)
if(ZEA_BUILD_TOOLS)
  set_target_properties(zea-console zea-standin PROPERTIES INSTALL_RPATH "${zea_origin}/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS zea-console zea-standin RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  set(zea_share ${PROJECT_SOURCE_DIR}/tools/console/share)
  install(FILES ${zea_share}/zea.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${zea_share}/zea.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME zea)
  install(FILES ${zea_share}/zea.zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _zea)
endif()

set(zea_libraries zea zeakit)
foreach(driver sqlite postgresql mariadb)
  if(TARGET zea${driver})
    list(APPEND zea_libraries zea${driver})
    set_target_properties(zea${driver} PROPERTIES INSTALL_RPATH "${zea_origin}")
    install(DIRECTORY drivers/${driver}/include/zea${driver} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
      FILES_MATCHING PATTERN *.h)
  endif()
endforeach()

# Each library is exported under the name that hosts link: qx::qx, zea::zea, zea::kit and so on.
foreach(library qx ${zea_libraries})
  install(TARGETS ${library} EXPORT ${library}_targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endforeach()
install(EXPORT qx_targets NAMESPACE qx:: DESTINATION ${zea_cmake_dir})
foreach(library ${zea_libraries})
  install(EXPORT ${library}_targets NAMESPACE zea:: DESTINATION ${zea_cmake_dir})
endforeach()

configure_package_config_file(cmake/zeaConfig.cmake.in ${PROJECT_BINARY_DIR}/zeaConfig.cmake
  INSTALL_DESTINATION ${zea_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zeaConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zeaConfig.cmake ${PROJECT_BINARY_DIR}/zeaConfigVersion.cmake
  DESTINATION ${zea_cmake_dir})
