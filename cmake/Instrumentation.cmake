# Sanitizers and coverage apply to every object of a build: half-instrumented programs report nonsense.
if(QUORVEX_SANITIZE)
    add_compile_options(-fsanitize=${QUORVEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QUORVEX_SANITIZE})
endif()
if(QUORVEX_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()
