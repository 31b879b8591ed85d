# Where everything goes. The components are the packages of cmake/Packages.cmake.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/storestate)

install(TARGETS storestate EXPORT storestate LIBRARY DESTINATION ${STORESTATE_JNIDIR} COMPONENT jni)
# REPOSITORY_HANDLER_HOME is then <prefix>/<libdir>/storestate
install(TARGETS RepositoryHandler LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/storestate/lib COMPONENT jni)

if(NOT STORESTATE_DEBIAN)
    install(FILES ${CMAKE_BINARY_DIR}/storestate.jar DESTINATION ${CMAKE_INSTALL_DATADIR}/java COMPONENT java)
endif()

install(FILES src/support/Export.h src/support/QXException.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/storestate/support COMPONENT dev)
install(FILES src/repository/RepositoryHandler.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/storestate/repository COMPONENT dev)
install(EXPORT storestate NAMESPACE storestate:: FILE storestate-config.cmake
    DESTINATION ${package_dir} COMPONENT dev)
write_basic_package_version_file(storestate-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/storestate-config-version.cmake DESTINATION ${package_dir} COMPONENT dev)

# The same for builds without CMake; like the CMake package, it is relocatable.
set(pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_libdir /${pc_dir} /${STORESTATE_JNIDIR})
file(RELATIVE_PATH pc_includedir /${pc_dir} /${CMAKE_INSTALL_INCLUDEDIR}/storestate)
get_directory_property(pc_flags COMPILE_DEFINITIONS)
list(TRANSFORM pc_flags PREPEND -D)
list(JOIN pc_flags " " pc_flags)
configure_file(cmake/storestate.pc.in storestate.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/storestate.pc DESTINATION ${pc_dir} COMPONENT dev)

if(STORESTATE_TOOLS)
    install(TARGETS storestate_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
    install(FILES tools/manual/storestate.bash-completion
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME storestate COMPONENT tool)
    if(NOT STORESTATE_DEBIAN)
        install(FILES tools/manual/storestate.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
    endif()
endif()
