# Every change of the clocks; `make test` takes a sample.
add_test(NAME dates/zones_in_full COMMAND dates_zones_test)
set_tests_properties(dates/zones_in_full PROPERTIES
  ENVIRONMENT VELTRO_ZONE_SAMPLE=1 TIMEOUT 900 LABELS verify)
