#!/bin/sh
# Builds the demo firmware: build.sh OUTPUT.elf [COMPILER]. The same compiler release gives the same
# bytes on any machine and in any folder: no paths, no dates, no debug information.
set -e
here=$(cd "$(dirname "$0")" && pwd)
output=$1
compiler=${2:-arm-none-eabi-gcc}
cd "$here"
"$compiler" -mcpu=cortex-m4 -mthumb -std=c11 -Os -Wall -Wextra -nostdlib -ffreestanding \
  -fno-tree-loop-distribute-patterns -fno-builtin -g0 -T demo.ld \
  -Wl,--build-id=none -Wl,-n -Wl,-s demo.c -o "$output"
