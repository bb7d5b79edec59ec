find_program(DORNIMAGE_GZIP gzip REQUIRED)
mark_as_advanced(DORNIMAGE_GZIP)

# Compresses a file; the same bytes each time, as neither name nor time are kept.
function(dorn_gzip input output)
  add_custom_command(OUTPUT "${output}"
    COMMAND "${DORNIMAGE_GZIP}" -9nc "${input}" > "${output}"
    DEPENDS "${input}" VERBATIM)
endfunction()
