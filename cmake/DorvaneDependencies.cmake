# Everything here is a Debian package; scripts/setup installs the list.
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Network)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(ZLIB REQUIRED)
find_package(LibXml2 REQUIRED)

# What the tests, the tool and the examples need beyond the library itself.
if(DORVANE_BUILD_TESTS OR DORVANE_BUILD_EXAMPLES OR DORVANE_BUILD_BENCHMARKS)
  find_package(Qt6 6.4 REQUIRED COMPONENTS Widgets Test)
endif()
if(DORVANE_BUILD_TOOLS OR DORVANE_BUILD_TESTS)
  find_package(Qt6 6.4 REQUIRED COMPONENTS HttpServer)
endif()
if(DORVANE_BUILD_TESTS)
  # Writes property lists for the reader's tests; the library has a reader of its own.
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
endif()

# Dorvane::Keychain is for builds in which translators work; others link no D-Bus.
find_package(Qt6Keychain 0.13 QUIET)
option(DORVANE_BUILD_KEYCHAIN "Build Dorvane::Keychain, which keeps a sign-in in the system's keychain" ${Qt6Keychain_FOUND})
if(DORVANE_BUILD_KEYCHAIN AND NOT Qt6Keychain_FOUND)
  message(FATAL_ERROR "DORVANE_BUILD_KEYCHAIN needs QtKeychain (Debian: qtkeychain-qt6-dev)")
elseif(NOT Qt6Keychain_FOUND)
  message(STATUS "Dorvane::Keychain is not built: QtKeychain was not found (Debian: qtkeychain-qt6-dev)")
elseif(NOT DORVANE_BUILD_KEYCHAIN)
  message(STATUS "Dorvane::Keychain is not built: DORVANE_BUILD_KEYCHAIN is off")
endif()

# Dorvane::Quick is for QML applications only; others need not have Qt's QML module.
find_package(Qt6 6.4 QUIET OPTIONAL_COMPONENTS Qml)
option(DORVANE_BUILD_QUICK "Build Dorvane::Quick, for QML applications" ${Qt6Qml_FOUND})
if(DORVANE_BUILD_QUICK AND NOT Qt6Qml_FOUND)
  message(FATAL_ERROR "DORVANE_BUILD_QUICK needs Qt6Qml (Debian: qt6-declarative-dev)")
elseif(NOT Qt6Qml_FOUND)
  message(STATUS "Dorvane::Quick is not built: Qt6Qml was not found (Debian: qt6-declarative-dev)")
elseif(NOT DORVANE_BUILD_QUICK)
  message(STATUS "Dorvane::Quick is not built: DORVANE_BUILD_QUICK is off")
endif()
if(DORVANE_BUILD_QUICK AND (DORVANE_BUILD_TESTS OR DORVANE_BUILD_EXAMPLES))
  find_package(Qt6 6.4 REQUIRED COMPONENTS Quick QuickControls2)
endif()
