include_guard(GLOBAL)

# For our own targets only: a project that adds this one as a subdirectory keeps its own warnings.
function(quarnel_warnings target)
  target_compile_options(
    ${target}
    PRIVATE
      -Wall
      -Wextra
      -Wpedantic
      -Wconversion
      -Wshadow
      # Returning const scalars by value is the interface's style.
      -Wno-ignored-qualifiers
      $<$<BOOL:${QUARNEL_WERROR}>:-Werror>
  )
endfunction()
