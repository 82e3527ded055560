# settings(RESULT): what a library that becomes a part of this project could change of it. Entries of
# the cache that are the library's own, or those of GNUInstallDirs and FetchContent, are left out.
function(settings result)
  set(list "")
  foreach(variable CMAKE_CXX_FLAGS CMAKE_CXX_STANDARD CMAKE_BUILD_TYPE BUILD_SHARED_LIBS
                   BUILD_TESTING CMAKE_POSITION_INDEPENDENT_CODE CMAKE_CXX_VISIBILITY_PRESET
                   CMAKE_INTERPROCEDURAL_OPTIMIZATION CMAKE_CXX_EXTENSIONS
                   CMAKE_RUNTIME_OUTPUT_DIRECTORY CMAKE_LIBRARY_OUTPUT_DIRECTORY CMAKE_MODULE_PATH
  )
    list(APPEND list "${variable}=${${variable}}")
  endforeach()
  foreach(property COMPILE_OPTIONS COMPILE_DEFINITIONS INCLUDE_DIRECTORIES LINK_OPTIONS)
    get_directory_property(value ${property})
    list(APPEND list "${property}=${value}")
  endforeach()
  get_cmake_property(names CACHE_VARIABLES)
  foreach(name IN LISTS names)
    get_property(type CACHE "${name}" PROPERTY TYPE)
    if(NOT type MATCHES "INTERNAL|STATIC"
       AND NOT name MATCHES "^(QUARNEL|CMAKE_INSTALL|FETCHCONTENT)_"
    )
      list(APPEND list "${name}=${${name}}")
    endif()
  endforeach()
  list(SORT list)
  list(REMOVE_DUPLICATES list)
  set(${result} "${list}" PARENT_SCOPE)
endfunction()
