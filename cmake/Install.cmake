# What `cmake --install` lays down: headers, libraries, the CMake package, vantorel.pc, samples and the licence; the command
# lays itself down (host/CMakeLists.txt).
include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/vantorel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/samples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/vantorel/samples)
install(FILES LICENSE NOTICE README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN *.md)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/schema DESTINATION ${CMAKE_INSTALL_DATADIR}/vantorel FILES_MATCHING PATTERN *.json)

# The parts are components of the package. A shared library is all of them.
get_property(libraries GLOBAL PROPERTY VANTOREL_LIBRARIES)
list(TRANSFORM libraries REPLACE "^vantorel_" "" OUTPUT_VARIABLE VANTOREL_PARTS)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Vantorel)
install(EXPORT VantorelTargets NAMESPACE vantorel:: DESTINATION ${package_dir})
configure_package_config_file(cmake/VantorelConfig.cmake.in ${PROJECT_BINARY_DIR}/VantorelConfig.cmake
    INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VantorelConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VantorelConfig.cmake ${PROJECT_BINARY_DIR}/VantorelConfigVersion.cmake
    DESTINATION ${package_dir})

if(BUILD_SHARED_LIBS)
    set(VANTOREL_PC_LIBS " -lvantorel")
else()
    # The highest first, so that one pass of the linker finds everything.
    set(VANTOREL_PC_LIBS "")
    list(REVERSE libraries)
    foreach(library IN LISTS libraries)
        get_target_property(type ${library} TYPE)
        if(type STREQUAL "STATIC_LIBRARY")
            string(APPEND VANTOREL_PC_LIBS " -l${library}")
        endif()
    endforeach()
    string(APPEND VANTOREL_PC_LIBS " -lpcre2-8 -lz -ldeflate -llzma -llz4 -ldl -pthread -lstdc++ -lm")
endif()
# From the folder of vantorel.pc up to the prefix, wherever the tree is put.
file(RELATIVE_PATH VANTOREL_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/vantorel.pc.in ${PROJECT_BINARY_DIR}/vantorel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vantorel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# `cpack --config CPackConfig.cmake` packs the same as a .tar.gz, for systems without packages of ours.
if(PROJECT_IS_TOP_LEVEL)
    set(CPACK_GENERATOR TGZ)
    set(CPACK_PACKAGE_NAME vantorel)
    set(CPACK_PACKAGE_VENDOR "The Vantorel authors")
    set(CPACK_PACKAGE_FILE_NAME vantorel-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
    set(CPACK_STRIP_FILES ON)
    set(CPACK_VERBATIM_VARIABLES ON)
    include(CPack)
endif()
