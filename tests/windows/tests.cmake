# The tests that need no server of ours in the same process; those servers are POSIX programs.
zea_test(qx_tests LIBRARIES qx::qx qx_internal SOURCES qx_values_test.cpp qx_json_test.cpp)

add_executable(smallest_host ${PROJECT_SOURCE_DIR}/examples/smallest_host/main.cpp)
zea_target(smallest_host)
target_link_libraries(smallest_host PRIVATE zea::zea)

add_executable(question_host ${CMAKE_CURRENT_LIST_DIR}/question_host.cpp)
zea_target(question_host)
target_link_libraries(question_host PRIVATE zea::zea)

zea_test(windows_tests LIBRARIES SOURCES windows/windows_loading_test.cpp)
target_include_directories(windows_tests PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/foundation/include)
target_compile_definitions(windows_tests PRIVATE ZEA_STATIC QX_STATIC ZEA_LIBRARY="$<TARGET_FILE_NAME:zea>")
add_dependencies(windows_tests zea)

add_test(NAME libzea_exports_what_its_list_says
  COMMAND ${CMAKE_COMMAND} -DDLL=$<TARGET_FILE:zea> -DOBJDUMP=${CMAKE_OBJDUMP}
    -DLIST=${PROJECT_SOURCE_DIR}/src/libzea.map -P ${CMAKE_CURRENT_LIST_DIR}/check_exports.cmake)
