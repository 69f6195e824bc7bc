# cmake --install: headers, libraries, the tools, and what find_package(zea) needs.
include(CMakePackageConfigHelpers)

set(zea_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zea)
# Where a library looks for the others: beside itself. Windows does so by itself.
set(zea_origin "$ORIGIN")
if(APPLE)
  set(zea_origin "@loader_path")
endif()
set_target_properties(zea zeakit PROPERTIES INSTALL_RPATH "${zea_origin}")
install(DIRECTORY include/zea foundation/include/qx kit/include/zeakit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development FILES_MATCHING PATTERN *.h)
if(ZEA_BUILD_TOOLS)
  set_target_properties(zea-console zea-standin PROPERTIES INSTALL_RPATH "${zea_origin}/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS zea-console zea-standin RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  set(zea_share ${PROJECT_SOURCE_DIR}/tools/console/share)
  set(zea_manual ${zea_share}/zea.1)
  find_program(ZEA_GZIP gzip)
  if(ZEA_GZIP)
    set(zea_manual ${PROJECT_BINARY_DIR}/zea.1.gz)
    execute_process(COMMAND ${ZEA_GZIP} -9nc ${zea_share}/zea.1 OUTPUT_FILE ${zea_manual})
  endif()
  install(FILES ${zea_manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${zea_share}/zea.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME zea
    COMPONENT tools)
  install(FILES ${zea_share}/zea.zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _zea
    COMPONENT tools)
endif()

set(zea_libraries zea zeakit)
foreach(driver sqlite postgresql mariadb)
  if(TARGET zea${driver})
    list(APPEND zea_libraries zea${driver})
    set_target_properties(zea${driver} PROPERTIES INSTALL_RPATH "${zea_origin}")
    install(DIRECTORY drivers/${driver}/include/zea${driver} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
      COMPONENT development FILES_MATCHING PATTERN *.h)
  endif()
endforeach()

if(TARGET zeac)
  list(APPEND zea_libraries zeac)
  set_target_properties(zeac PROPERTIES INSTALL_RPATH "${zea_origin}")
  install(DIRECTORY capi/include/zeac DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    COMPONENT development FILES_MATCHING PATTERN *.h)
  # Where Python looks on Debian; other systems take bindings/python as a package of their own.
  install(DIRECTORY bindings/python/zea DESTINATION lib/python3/dist-packages COMPONENT python
    FILES_MATCHING PATTERN *.py PATTERN py.typed)
endif()

# Each library is exported under the name that hosts link: qx::qx, zea::zea, zea::kit and so on.
foreach(library qx ${zea_libraries})
  # The clients of database servers come with those who want them.
  set(component runtime)
  if(library MATCHES "postgresql|mariadb")
    set(component drivers)
  endif()
  install(TARGETS ${library} EXPORT ${library}_targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component} NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${component})
endforeach()
install(EXPORT qx_targets NAMESPACE qx:: DESTINATION ${zea_cmake_dir} COMPONENT development)
foreach(library ${zea_libraries})
  install(EXPORT ${library}_targets NAMESPACE zea:: DESTINATION ${zea_cmake_dir} COMPONENT development)
endforeach()

configure_package_config_file(cmake/zeaConfig.cmake.in ${PROJECT_BINARY_DIR}/zeaConfig.cmake
  INSTALL_DESTINATION ${zea_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zeaConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zeaConfig.cmake ${PROJECT_BINARY_DIR}/zeaConfigVersion.cmake
  DESTINATION ${zea_cmake_dir} COMPONENT development)

# pkg-config --cflags --libs zea; zeac for C. Relocatable: the prefix is where the file lies.
file(RELATIVE_PATH zea_prefix_of_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
set(zea_libs_of_zea "-lzea -lqx")
set(zea_libs_of_zeac "-lzeac")
foreach(module zea zeac)
  if(TARGET ${module})
    set(zea_module_libraries ${zea_libs_of_${module}})
    configure_file(cmake/module.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${module}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
      COMPONENT development)
  endif()
endforeach()

if(PROJECT_IS_TOP_LEVEL AND ZEA_BUILD_TOOLS AND ZEA_GZIP AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
  include(cmake/packages.cmake)
endif()
