find_library(VELTRO_PROC2 proc2 REQUIRED)
set(peers ${VELTRO_PROC2})
