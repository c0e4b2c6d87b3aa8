# The bundle folder beside the programs of the build tree, as it is in an installation: what data/ holds for it, and the
# tool that takes pictures out of PDF documents.

set(bundle ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/Veridane.app)
file(MAKE_DIRECTORY ${bundle})
file(GLOB bundle_files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/data/Veridane.app/*)
foreach(file IN LISTS bundle_files)
  cmake_path(GET file FILENAME name)
  file(CREATE_LINK ${file} ${bundle}/${name} SYMBOLIC)
endforeach()

find_program(VERIDANE_PDFIMAGES pdfimages DOC "Takes pictures out of PDF documents")
if(VERIDANE_PDFIMAGES)
  file(CREATE_LINK ${VERIDANE_PDFIMAGES} ${bundle}/pdfimages SYMBOLIC)
else()
  message(WARNING "pdfimages was not found: PDF documents cannot be searched")
endif()
