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
