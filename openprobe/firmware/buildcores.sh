#!/bin/sh
# Builds the small firmwares of other cores: buildcores.sh FOLDER [CLANG [LLD]]. The same release of
# Clang gives the same bytes on any machine.
set -e
cd "$(dirname "$0")/cores"
clang=${2:-clang-14}
lld=${3:-ld.lld-14}
folder=$1
objects=$(mktemp -d)
trap 'rm -rf "$objects"' EXIT

# build NAME SOURCE ADDRESS LLD-OPTION CLANG-OPTION...
build() {
    name=$1 source=$2 address=$3 emulation=$4
    shift 4
    "$clang" "$@" -c "$source" -o "$objects/$name.o"
    "$lld" $emulation -e _start -T cores.ld --defsym=START="$address" --build-id=none -n -s \
        "$objects/$name.o" -o "$folder/$name.elf"
}

build riscv32 riscv.s 0x80000000 "-m elf32lriscv" --target=riscv32 -march=rv32ima
build riscv64 riscv.s 0x80000000 "-m elf64lriscv" --target=riscv64 -march=rv64ima
build mips mips.s 0x80100000 "-m elf32btsmip" --target=mips
build aarch64 aarch64.s 0x40080000 "-m aarch64elf" --target=aarch64
build avr avr.s 0x0 "" --target=avr -mmcu=atmega2560
