# ICU is the independent oracle of the locale-aware collation; only the tests link it.
find_package(PkgConfig REQUIRED)
pkg_check_modules(PELLIUM_ICU REQUIRED IMPORTED_TARGET icu-i18n icu-uc)
target_link_libraries(${name} PRIVATE PkgConfig::PELLIUM_ICU)
