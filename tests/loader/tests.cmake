# The loader's own tests know it from within.
foreach(stem bytes header fixups exports objc_metadata unwind_info call_frames widening texts)
  target_link_libraries(loader_${stem}_test PRIVATE veltro-loader-core)
endforeach()
