include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/storestate)

install(TARGETS storestate EXPORT storestate LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# so that REPOSITORY_HANDLER_HOME=<prefix>/<libdir>/storestate works as it stands
install(TARGETS RepositoryHandler LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/storestate/lib)
install(FILES ${CMAKE_BINARY_DIR}/storestate.jar DESTINATION ${CMAKE_INSTALL_DATADIR}/java)
install(FILES src/support/Export.h src/support/QXException.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/storestate/support)
install(FILES src/repository/RepositoryHandler.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/storestate/repository)

install(EXPORT storestate NAMESPACE storestate:: FILE storestate-config.cmake DESTINATION ${package_dir})
write_basic_package_version_file(storestate-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/storestate-config-version.cmake DESTINATION ${package_dir})
