# Debian packages, built with the preset "deb": one for each component of cmake/Install.cmake.
if(NOT STORESTATE_DEBIAN)
    return()
endif()

set(CPACK_PACKAGE_CONTACT "Store-state maintainers <storestate@localhost>")
# Older than any revision that Debian would use.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0local1)
set(package_version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

# The date is that of SOURCE_DATE_EPOCH, if it is set.
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${PROJECT_BINARY_DIR}/debian-changelog
    "storestate (${package_version}) unstable; urgency=medium\n\n  * See changelog.gz.\n\n"
    " -- ${CPACK_PACKAGE_CONTACT}  ${now}\n")

# Only packages have these: compressed texts, the Javadoc, and the jar with its version in the name.
function(install_compressed source name destination component)
    execute_process(COMMAND gzip -9nc ${source} OUTPUT_FILE ${PROJECT_BINARY_DIR}/${component}/${name}
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} COMMAND_ERROR_IS_FATAL ANY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
    install(FILES ${PROJECT_BINARY_DIR}/${component}/${name} DESTINATION ${destination} COMPONENT ${component})
endfunction()

set(components jni java tool dev)
set(package_jni libstorestate-jni)
set(package_java libstorestate-java)
set(package_tool storestate)
set(package_dev libstorestate-dev)
foreach(component IN LISTS components)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/${component})
    set(doc ${CMAKE_INSTALL_DATADIR}/doc/${package_${component}})
    install_compressed(CHANGELOG.md changelog.gz ${doc} ${component})
    install_compressed(${PROJECT_BINARY_DIR}/debian-changelog changelog.Debian.gz ${doc} ${component})
endforeach()
install_compressed(tools/manual/storestate.1 storestate.1.gz ${CMAKE_INSTALL_MANDIR}/man1 tool)
install(DIRECTORY examples/plugin DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libstorestate-dev/examples COMPONENT dev)
install(FILES docs/plugins.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libstorestate-dev/docs COMPONENT dev)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/storestate COMPONENT tool PATTERN plugins.md EXCLUDE)

add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/api/index.html
    COMMAND ${Java_JAVADOC_EXECUTABLE} -quiet -notimestamp -noindex -notree -d ${PROJECT_BINARY_DIR}/api quillon/util/StoreState.java
        quillon/util/NativeLibrary.java
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/java
    DEPENDS java/quillon/util/StoreState.java java/quillon/util/NativeLibrary.java
    COMMENT "Making the Javadoc")
add_custom_target(javadoc ALL DEPENDS ${PROJECT_BINARY_DIR}/api/index.html)
install(DIRECTORY ${PROJECT_BINARY_DIR}/api DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libstorestate-java COMPONENT java)
set(versioned_jar storestate-${PROJECT_VERSION}.jar)
file(CREATE_LINK ${versioned_jar} ${PROJECT_BINARY_DIR}/java/storestate.jar SYMBOLIC)
install(FILES ${PROJECT_BINARY_DIR}/storestate.jar
    DESTINATION ${CMAKE_INSTALL_DATADIR}/java RENAME ${versioned_jar} COMPONENT java)
install(FILES ${PROJECT_BINARY_DIR}/java/storestate.jar DESTINATION ${CMAKE_INSTALL_DATADIR}/java COMPONENT java)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
foreach(component IN LISTS components)
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package_${component}})
endforeach()

set(summary "Store-state records of a DICOM archive")
set(CPACK_COMPONENT_JNI_DESCRIPTION "${summary}: the native library
The native library behind the Java class quillon.util.StoreState, and the
plug-in for repositories that are plain directory trees. To use the plug-in,
set REPOSITORY_HANDLER_HOME=/usr/${CMAKE_INSTALL_LIBDIR}/storestate.")
set(CPACK_DEBIAN_JNI_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_JNI_PACKAGE_RECOMMENDS procps)

set(CPACK_COMPONENT_JAVA_DESCRIPTION "${summary}: the Java class
The class quillon.util.StoreState, as /usr/share/java/storestate.jar, and its
Javadoc.")
set(CPACK_DEBIAN_JAVA_PACKAGE_SECTION java)
set(CPACK_DEBIAN_JAVA_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_JAVA_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_JAVA_PACKAGE_DEPENDS "libstorestate-jni (>= ${PROJECT_VERSION})")

set(CPACK_COMPONENT_TOOL_DESCRIPTION "${summary}: the operator's tool
Shows, changes and converts records, lists and removes locks, explains
failures, and checks the environment. With manual page and documentation.")
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS "libstorestate-jni (= ${package_version})")

set(CPACK_COMPONENT_DEV_DESCRIPTION "${summary}: for authors of plug-ins
The headers, the CMake and pkg-config files, and an example, for plug-ins
that tell the library where a study is stored.")
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libstorestate-jni (= ${package_version})")
include(CPack)
