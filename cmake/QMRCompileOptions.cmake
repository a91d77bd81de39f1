# Project-wide compile options, applied per target through qmr_apply_options().
function(qmr_apply_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic
    # Exception source locations name files relative to the project root.
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
  if(QMR_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

if(QMR_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
