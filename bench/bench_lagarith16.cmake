# Two general compressors are the company.
pkg_check_modules(LAG1_RIVALS REQUIRED IMPORTED_TARGET libzstd liblz4)
target_link_libraries(${name} PRIVATE PkgConfig::LAG1_RIVALS)
