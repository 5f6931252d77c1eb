# What `cmake --install` lays down: headers, libraries, the command, the CMake package and vantorel.pc.
include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/vantorel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/schema DESTINATION ${CMAKE_INSTALL_DATADIR}/vantorel FILES_MATCHING PATTERN *.json)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Vantorel)
install(EXPORT VantorelTargets NAMESPACE vantorel:: DESTINATION ${package_dir})
configure_package_config_file(cmake/VantorelConfig.cmake.in ${PROJECT_BINARY_DIR}/VantorelConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VantorelConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VantorelConfig.cmake ${PROJECT_BINARY_DIR}/VantorelConfigVersion.cmake
    DESTINATION ${package_dir})

# Static libraries, the highest first, so that one pass of the linker finds everything.
get_property(libraries GLOBAL PROPERTY VANTOREL_LIBRARIES)
list(REVERSE libraries)
set(VANTOREL_PC_LIBS "")
foreach(library IN LISTS libraries)
    get_target_property(type ${library} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
        string(APPEND VANTOREL_PC_LIBS " -l${library}")
    endif()
endforeach()
# From the folder of vantorel.pc up to the prefix, wherever the tree is put.
file(RELATIVE_PATH VANTOREL_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/vantorel.pc.in ${PROJECT_BINARY_DIR}/vantorel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vantorel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
