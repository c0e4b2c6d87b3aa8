# What `cmake --install` puts where. The programs look for the bundle folder at ../share/veridane from where they lie, so
# bin and share keep these names, and a tree installed to any prefix can be moved as a whole.
#
# Components: window (the program veridane), command (vrd), bundle (what both need), documents.

set(VERIDANE_ZSH_FOLDER share/zsh/site-functions CACHE STRING "Where the completion of zsh is installed")

install(TARGETS veridane RUNTIME DESTINATION bin COMPONENT window)
install(TARGETS vrd RUNTIME DESTINATION bin COMPONENT command)

set(data ${PROJECT_SOURCE_DIR}/data)
install(DIRECTORY ${data}/Veridane.app DESTINATION share/veridane COMPONENT bundle)

# The program that was found when the build was configured is linked to, not copied: it needs the libraries it came with.
# Where it lies under the prefix the link is relative, as packages want it.
if(VERIDANE_PDFIMAGES)
  install(CODE "
    set(tool \"${VERIDANE_PDFIMAGES}\")
    set(folder \"\${CMAKE_INSTALL_PREFIX}/share/veridane/Veridane.app\")
    cmake_path(IS_PREFIX CMAKE_INSTALL_PREFIX \"\${tool}\" NORMALIZE isUnderPrefix)
    if(isUnderPrefix)
      cmake_path(RELATIVE_PATH tool BASE_DIRECTORY \"\${folder}\")
    endif()
    message(STATUS \"Linking: \$ENV{DESTDIR}\${folder}/pdfimages -> \${tool}\")
    file(REMOVE \"\$ENV{DESTDIR}\${folder}/pdfimages\")
    file(CREATE_LINK \"\${tool}\" \"\$ENV{DESTDIR}\${folder}/pdfimages\" SYMBOLIC)"
    COMPONENT bundle)
endif()

install(FILES ${data}/desktop/veridane.desktop DESTINATION share/applications COMPONENT window)
install(FILES ${data}/desktop/org.veridane.Veridane.metainfo.xml DESTINATION share/metainfo COMPONENT window)
install(DIRECTORY ${data}/icons/hicolor DESTINATION share/icons COMPONENT window)
install(FILES ${PROJECT_SOURCE_DIR}/vrd_gui/res/icons/logo.svg DESTINATION share/icons/hicolor/scalable/apps
        RENAME veridane.svg COMPONENT window)

install(FILES ${data}/man/veridane.1 DESTINATION share/man/man1 COMPONENT window)
file(GLOB pages CONFIGURE_DEPENDS ${data}/man/vrd*.1)
install(FILES ${pages} DESTINATION share/man/man1 COMPONENT command)
install(FILES ${data}/completion/vrd.bash DESTINATION share/bash-completion/completions RENAME vrd COMPONENT command)
install(FILES ${data}/completion/vrd.zsh DESTINATION ${VERIDANE_ZSH_FOLDER} RENAME _vrd COMPONENT command)
install(FILES ${data}/completion/vrd.fish DESTINATION share/fish/vendor_completions.d COMPONENT command)

file(GLOB documents CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.md)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
        DESTINATION share/doc/veridane COMPONENT documents)
install(FILES ${documents} DESTINATION share/doc/veridane/docs COMPONENT documents)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/pictures DESTINATION share/doc/veridane/docs COMPONENT documents)
