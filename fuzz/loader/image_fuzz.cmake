set(options IGNORE_LEAKS)
set(peers veltro-loader-core)
set_source_files_properties(${source} PROPERTIES
  COMPILE_DEFINITIONS VELTRO_IOS_DIR="${PROJECT_SOURCE_DIR}/build/ios")
