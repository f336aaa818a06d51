# Debian's cross compiler for the machine named by `triplet`; programs for that machine run under qemu-user, if installed.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)

find_program(OVK_EMULATOR NAMES qemu-${emulated} qemu-${emulated}-static)
if(OVK_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${OVK_EMULATOR} -L /usr/${triplet})
endif()
