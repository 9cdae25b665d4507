# `cpack -G DEB` in a release build folder makes a Debian package; scripts/package does that and tries it.
set(CPACK_PACKAGE_NAME moorix)
set(CPACK_PACKAGE_VENDOR "The Moorix developers")
set(CPACK_PACKAGE_CONTACT "The Moorix developers <maintainers@moorix.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "two-pane file manager for local disks and servers")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Each of two panes browses the local disk or a server over SFTP, FTP or FTPS,
and files go from one to the other. A file takes its name only once it is
whole, and the window never waits for a server.
.
Files of servers open in the desktop's programs and are uploaded when saved;
folders are kept alike both ways; encrypted backups run on a schedule; there
are terminals, a comparison of files and a monitor of computers. All of it
works on the command line, too. Passwords live in the desktop's keychain.")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
    WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Libraries are found by the packager; these are run as programs or loaded at run time, which it cannot see.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "openssh-client, curl, zip, libqt6svg6, breeze-icon-theme")
# Where passwords are kept, what opens files in other programs, authorities of FTPS servers, Wayland desktops, the look.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnome-keyring | kwalletmanager | keepassxc, xdg-utils, ca-certificates, qt6-wayland, \
fonts-inter, fonts-jetbrains-mono")
include(CPack)
