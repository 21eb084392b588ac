# Extracts the user-visible texts of the library sources into a translation
# template. The English text is the message id; the comment argument of
# NSLocalizedString becomes the translator comment ("#.").
#
#   cmake -DSOURCE_DIR=<repo> -DOUTPUT=<repo>/po/aurimo.pot -DXGETTEXT=... -DMSGUNIQ=... -P make_pot.cmake
#
# Sources are globbed on every run, so new files are picked up without
# reconfiguring. Tests are left out: their texts are not the app's.

file(GLOB_RECURSE sources RELATIVE ${SOURCE_DIR}
  ${SOURCE_DIR}/AppContext/*.cc ${SOURCE_DIR}/AppContext/*.h
  ${SOURCE_DIR}/Frameworks/*.cc ${SOURCE_DIR}/Frameworks/*.h
  ${SOURCE_DIR}/Platform/*.cc ${SOURCE_DIR}/Platform/*.h
  ${SOURCE_DIR}/tools/*.cc ${SOURCE_DIR}/tools/*.h)
list(FILTER sources EXCLUDE REGEX "(^|/)tests/")
list(SORT sources)

set(work ${CMAKE_CURRENT_BINARY_DIR}/aurimo.pot.tmp)  # the build folder when run by the target
# xgettext cannot take an argument as a comment, so the comment argument is
# read as a message context first and turned into a comment afterwards.
execute_process(
  COMMAND ${XGETTEXT} --language=C++ --from-code=UTF-8 --force-po --no-wrap --sort-by-file
          --keyword --keyword=NSLocalizedString:1,2c,2t --keyword=NSLocalizedString:1,5c,5t
          --add-comments=TRANSLATORS: --package-name=Aurimo --output=${work}.1 ${sources}
  WORKING_DIRECTORY ${SOURCE_DIR}
  RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "xgettext failed")
endif()
execute_process(
  COMMAND sed -E -e "/^msgctxt \"\"$/d" -e "s/^msgctxt \"(.*)\"$/#. \\1/" -e "/^#\\. /s/\\\\\"/\"/g"
          -e "s/charset=CHARSET/charset=UTF-8/" -e "/^\"POT-Creation-Date: /d" ${work}.1
  OUTPUT_FILE ${work}.2
  RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "sed failed")
endif()
# One entry per key, its comments gathered from every use (without the
# markers msguniq puts between differing comments).
execute_process(
  COMMAND ${MSGUNIQ} --force-po --no-wrap --sort-by-file --output-file=${work}.3 ${work}.2
  RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "msguniq failed")
endif()
execute_process(
  COMMAND sed -E -e "/^#[.] #-#-#-#-#  .*  #-#-#-#-#$/d" ${work}.3
  OUTPUT_FILE ${OUTPUT}
  RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "sed failed")
endif()
file(REMOVE ${work}.1 ${work}.2 ${work}.3)
