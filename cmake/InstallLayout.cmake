# Where everything is installed, relative to the root of the file system (or to KZM_ROOT).

set(KZM_LIBDIR opt/veltaro/kzm/lib)
set(KZM_BINDIR opt/veltaro/kzm/bin)
set(KZM_INCLUDEDIR opt/veltaro/kzm/include)
set(KZM_PROVIDER_LIBDIR opt/veltaro/kzm/provider/lib)
set(KZM_SCHEMADIR opt/veltaro/kzm/provider/schema)
set(KZM_DEVICEDIR opt/veltaro/kzm/provider/device)
set(KZM_LOCKDIR opt/veltaro/kzm/provider/tmp/Logger)
set(KZM_STATEDIR var/opt/veltaro/kzm/logger)
set(KZM_SERVER_CONFIGDIR etc/opt/veltaro/kzm)
set(KZM_SERVER_STATEDIR var/opt/veltaro/kzm/wbemd)
set(KZM_CONSOLEDIR usr/share/cockpit/kzm-logger)
set(KZM_COMMANDDIR usr/sbin)
set(KZM_PKGCONFIGDIR usr/share/pkgconfig)
set(KZM_MANDIR usr/share/man/man8)
set(KZM_MAN5DIR usr/share/man/man5)
set(KZM_BASH_COMPLETIONDIR usr/share/bash-completion/completions)
set(KZM_ZSH_COMPLETIONDIR usr/share/zsh/vendor-completions)
set(KZM_FISH_COMPLETIONDIR usr/share/fish/vendor_completions.d)

if(CMAKE_INSTALL_PREFIX_INITIALIZED_TO_DEFAULT)
  set(CMAKE_INSTALL_PREFIX "${KZM_ROOT}/" CACHE PATH "" FORCE)
endif()

# Each component is a package. What belongs to the management server (wbemd) or to the page for Cockpit
# (console), or is for those who write providers (dev), says so; all else is the provider and its tool.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME provider)

# Folders that the installation makes are their owner's to write, whatever the umask.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# The folder of the lock file is part of the installation: the provider expects it.
install(DIRECTORY DESTINATION ${KZM_LOCKDIR}
        DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)

# The folder of the history and of the callers' lock, and that of the device description.
install(DIRECTORY DESTINATION ${KZM_STATEDIR})
install(DIRECTORY DESTINATION ${KZM_DEVICEDIR})
