# The packages for Debian, which scripts/make-packages builds: libraries, drivers, development, tools, Python, pages.
set(CPACK_PACKAGE_VENDOR "The libzea project")
set(CPACK_PACKAGE_CONTACT "The libzea project <libzea@localhost>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime drivers development tools documentation)
if(TARGET zeac)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
foreach(folder foundation src kit capi drivers)
  list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/${folder})
endforeach()

install(FILES README.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libzea-doc COMPONENT documentation)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libzea-doc COMPONENT documentation)

# Each package has both, as Debian asks.
set(packaging ${PROJECT_BINARY_DIR}/packaging)
configure_file(packaging/copyright ${packaging}/copyright COPYONLY)
configure_file(packaging/changelog.in ${packaging}/changelog.Debian @ONLY)
execute_process(COMMAND ${ZEA_GZIP} -9nfk ${packaging}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)

# zea_package(<component> <package> <section> <dependencies> <summary> <description>)
macro(zea_package component package section depends summary description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}")
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
  install(FILES ${packaging}/copyright ${packaging}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endmacro()

set(version ${PROJECT_VERSION}-1)
set(runtime libzea${ZEA_SOVERSION})
zea_package(runtime ${runtime} libs ""
  "library for talking with chat models about a database"
  "libzea lets the users of a database tool talk to a chat model about their\ndatabase. This package has the libraries.")
zea_package(drivers libzea-drivers${ZEA_SOVERSION} libs "${runtime} (= ${version})"
  "readers of PostgreSQL and MariaDB databases for libzea"
  "They read the structure of a database, and run statements that only read.")
zea_package(development libzea-dev libdevel
  "${runtime} (= ${version}), libzea-drivers${ZEA_SOVERSION} (= ${version})"
  "files for building with libzea"
  "The headers for C++ and C, and what CMake and pkg-config need.")
zea_package(tools zea-tools database "${runtime} (= ${version}), libzea-drivers${ZEA_SOVERSION} (= ${version})"
  "talk with a chat model about a database, at a terminal"
  "The program zea, and zea-standin, a provider on your own machine for tests.")
zea_package(documentation libzea-doc doc ""
  "pages about libzea"
  "How it is built, what it promises and how fast it is.")
if(TARGET zeac)
  zea_package(python python3-zea python "${runtime} (= ${version}), python3"
    "talk with a chat model about a database, from Python"
    "A package that needs no compiler: it calls the C interface of libzea.")
endif()
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_DRIVERS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
# As today's Debian has it; CPack still writes scripts that call ldconfig.
file(WRITE ${packaging}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${packaging}/triggers)
set(CPACK_DEBIAN_DRIVERS_PACKAGE_CONTROL_EXTRA ${packaging}/triggers)
# What Python compiles beside the sources goes with them.
file(WRITE ${packaging}/prerm "#!/bin/sh\nset -e\nrm -rf /usr/lib/python3/dist-packages/zea/__pycache__\n")
file(CHMOD ${packaging}/prerm PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
  WORLD_EXECUTE)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${packaging}/prerm)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
include(CPack)
