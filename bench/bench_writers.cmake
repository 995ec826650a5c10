# The reference library for FITS, to be measured against.
pkg_check_modules(CFITSIO REQUIRED IMPORTED_TARGET cfitsio)
target_link_libraries(bench_writers PRIVATE PkgConfig::CFITSIO)
