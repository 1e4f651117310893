# Debian packages: "cpack -G DEB" in a build whose CMAKE_INSTALL_PREFIX is /usr, or scripts/package.
find_program(DORVANE_DPKG dpkg)
if(NOT DORVANE_DPKG OR NOT dorvane_kind STREQUAL SHARED_LIBRARY)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME dorvane)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own first line
set(CPACK_PACKAGE_VENDOR "The Dorvane authors")
set(CPACK_PACKAGE_CONTACT "The Dorvane authors <dorvane@example.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/compress.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Packages built against ours depend on the version they saw.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_COMPONENTS_ALL)

# dorvane_debian_package(COMPONENT NAME SECTION DEPENDS DESCRIPTION): one package. What its programs and
# libraries link, dpkg-shlibdeps adds to DEPENDS.
macro(dorvane_debian_package component name section depends description)
  string(TOUPPER ${component} upper)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}")
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}")
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${dorvane_package_files}/changelog
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in ${dorvane_package_files}/changelog @ONLY)
set(same_version "(= ${PROJECT_VERSION})")
set(major ${PROJECT_VERSION_MAJOR})
set(for_headers "libdorvane${major} ${same_version}, qt6-base-dev (>= 6.4)")

dorvane_debian_package(library libdorvane${major} libs ""
  "over-the-air translations for Qt 6 applications
Texts of tr(), .ui files and qtTrId() come from a translation platform:
new translations reach the users of an application without a release, in
windows that are already open.

This package holds the library that applications link.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)

if(TARGET DorvaneQuick)
  dorvane_debian_package(quick libdorvane-quick${major} libs "libdorvane${major} ${same_version}"
    "over-the-air translations for Qt 6 applications (QML)
Windows written in QML show new translations at once, and QML code can ask
for the locale, for texts and for plurals.

This package holds the library that QML applications link.")
  set(CPACK_DEBIAN_QUICK_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
  string(APPEND for_headers ", libdorvane-quick${major} ${same_version}, qt6-declarative-dev (>= 6.4)")
endif()

if(TARGET DorvaneKeychain)
  dorvane_debian_package(keychain libdorvane-keychain${major} libs "libdorvane${major} ${same_version}, libsecret-1-0"
    "over-the-air translations for Qt 6 applications (keychain)
Keeps the sign-in of a translator, who works on texts inside the running
application, in the keychain of the desktop.

This package holds the library that builds for translators link.")
  set(CPACK_DEBIAN_KEYCHAIN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
  string(APPEND for_headers ", libdorvane-keychain${major} ${same_version}")
endif()

if(TARGET DorvaneReview)
  dorvane_debian_package(review libdorvane-review${major} libs "libdorvane${major} ${same_version}"
    "over-the-air translations for Qt 6 applications (in-app review)
A translator presses a text of the running application to see which strings
made it. Works on widgets and on Qt Quick.

This package holds the library that builds for translators link.")
  set(CPACK_DEBIAN_REVIEW_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
  string(APPEND for_headers ", libdorvane-review${major} ${same_version}")
endif()

dorvane_debian_package(development libdorvane-dev libdevel "${for_headers}"
  "over-the-air translations for Qt 6 applications (development)
Texts of tr(), .ui files and qtTrId() come from a translation platform:
new translations reach the users of an application without a release, in
windows that are already open.

This package holds the headers, the CMake and pkg-config files and the
documents.")

if(TARGET dorvane_tool)
  dorvane_debian_package(tools dorvane-tools utils ""
    "command-line tool for over-the-air translations of Qt 6 applications
Makes and opens the files that applications download, serves a local
stand-in for the translation platform, and drives an application without
windows to see what a project serves.")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
endif()

include(CPack)
