# Takes the images of the tests; two general compressors are the company.
pkg_check_modules(LAG1_RIVALS REQUIRED IMPORTED_TARGET libzstd liblz4)
target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/unit/file)
target_link_libraries(${name} PRIVATE PkgConfig::LAG1_RIVALS)
