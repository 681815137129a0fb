# kyv_message_modules(TARGET FOLDER) compiles the texts in the current source folder's messages/MODULE/LANGUAGE.txt, for
# every module there, to FOLDER/MODULE/LANGUAGE.res.

find_program(KYV_GENRB genrb REQUIRED DOC "ICU's resource bundle compiler (Debian: icu-devtools)")

function(kyv_message_modules target folder)
  file(GLOB texts CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR}/messages messages/*/*.txt)
  set(bundles)
  foreach(text IN LISTS texts)
    cmake_path(REPLACE_EXTENSION text LAST_ONLY res OUTPUT_VARIABLE bundle)
    cmake_path(GET bundle PARENT_PATH module)
    set(source ${CMAKE_CURRENT_SOURCE_DIR}/messages/${text})
    add_custom_command(
      OUTPUT ${folder}/${bundle}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}/${module}
      COMMAND ${KYV_GENRB} --quiet --encoding UTF-8 --destdir ${folder}/${module} ${source}
      DEPENDS ${source}
      COMMENT "Compiling messages ${text}"
      VERBATIM)
    list(APPEND bundles ${folder}/${bundle})
  endforeach()
  add_custom_target(${target} ALL DEPENDS ${bundles})
endfunction()
