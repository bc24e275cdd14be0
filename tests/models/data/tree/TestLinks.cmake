# SQLite is the independent oracle of the member sorting by measure; only the tests link it.
find_package(PkgConfig REQUIRED)
pkg_check_modules(PELLIUM_SQLITE REQUIRED IMPORTED_TARGET sqlite3)
target_link_libraries(${name} PRIVATE PkgConfig::PELLIUM_SQLITE)
