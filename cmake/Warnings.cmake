# The one place that decides how strictly every target of the project is compiled.
add_library(moorix_warnings INTERFACE)
target_compile_options(moorix_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Werror
    -Wold-style-cast -Woverloaded-virtual -Wnon-virtual-dtor -Wshadow -Wimplicit-fallthrough)
target_compile_definitions(moorix_warnings INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
