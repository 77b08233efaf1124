# Included after the top-level project() by the "fuzz" preset (CMAKE_PROJECT_INCLUDE); adds the
# harnesses once the libraries they link exist, so the ordinary build never sees them. EVAL
# bakes the path in now: a deferred call would expand it only when it runs, from elsewhere.
cmake_language(EVAL CODE
    "cmake_language(DEFER DIRECTORY \"${CMAKE_SOURCE_DIR}\" CALL include \"${CMAKE_CURRENT_LIST_DIR}/CMakeLists.txt\")")
