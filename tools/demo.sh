# The demonstration behind ./run: a target to look at, a home directory of its own where the
# user's connection settings must stay untouched, and the walk through the start-up without a display.

demo_dir=$PWD/build/demo
demo_pids=()
demo_process=
demo_base=0x00000000 # where the memory window starts
demo_machine=arm     # which machine ./run --qemu shows

# What was started last ends first: a client whose server has gone may fail on that.
demo_stop() {
    local at
    for ((at = ${#demo_pids[@]} - 1; at >= 0; at--)); do
        kill "${demo_pids[at]}" 2>/dev/null || true
        wait "${demo_pids[at]}" 2>/dev/null || true
    done
}
trap demo_stop EXIT

# demo_use_settings LINE...: starts the program in a home directory whose settings file says so,
# and whose memory window stands where RAM begins on most microcontrollers.
demo_use_settings() {
    export XAUTHORITY=${XAUTHORITY:-$HOME/.Xauthority}
    export HOME=$demo_dir/home
    unset XDG_CONFIG_HOME
    rm -rf "$HOME/.config" # alone: the user may have saved memory to a file here
    mkdir -p "$HOME/.config/Unknown Organization"
    printf '%s\n' '[AppData]' "HexEditor\\Base%20Address=$((demo_base))" \
        >"$HOME/.config/Unknown Organization/pelimo.conf"
    # The backslash is part of the file's name.
    printf '%s\r\n' "$@" >"$HOME/.config/TOLVEN\\pelimoSettings.ini"
}

# demo_free_port [BUT]: a TCP port that nobody uses at this moment, and not the one that will be used.
demo_free_port() {
    local port
    for port in $(seq 31234 31299); do
        [ "$port" != "${1:-}" ] || continue
        (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null || {
            echo "$port"
            return
        }
    done
    return 1
}

demo_wait_for_port() {
    local port=$1 try
    for try in $(seq 100); do
        ! grep -q "^ *[0-9]*: [0-9A-F]*:$(printf '%04X' "$port") .* 0A " /proc/net/tcp || return 0
        sleep 0.1
    done
    echo "Nothing listens on port $port; see build/demo/*.log." >&2
    return 1
}

# demo_start_target MODE: sim needs nothing; the others start what there is to look at.
demo_start_target() {
    mkdir -p "$demo_dir"
    case $1 in
    qemu) demo_start_qemu ;;
    openocd) demo_start_openocd ;;
    pid) demo_start_pid ;;
    esac
}

# demo_qemu MACHINE: fills demo_qemu_command with the machine and its firmware, demo_base with the
# place worth looking at, demo_device with its name in the device list and demo_big with its byte order.
# Says so and fails when there is no such machine.
demo_qemu() {
    local images=openprobe/firmware
    demo_big=0
    case $1 in
    arm)
        demo_qemu_command=(qemu-system-arm -M netduinoplus2 -kernel $images/demo.elf)
        demo_base=0x20000000 demo_device=netduinoplus2
        ;;
    mips)
        demo_qemu_command=(qemu-system-mips -M malta -m 16 -nodefaults -kernel $images/mips.elf)
        demo_base=0x80100000 demo_device=malta demo_big=1
        ;;
    riscv32)
        demo_qemu_command=(qemu-system-riscv32 -M virt -m 16 -bios $images/riscv32.elf)
        demo_base=0x80000000 demo_device='virt (RV32)'
        ;;
    riscv64)
        demo_qemu_command=(qemu-system-riscv64 -M virt -m 16 -smp 2 -bios $images/riscv64.elf)
        demo_base=0x80000000 demo_device='virt (RV64)'
        ;;
    aarch64)
        demo_qemu_command=(qemu-system-aarch64 -M virt -cpu cortex-a53 -smp 2 -m 16 -nodefaults
            -kernel $images/aarch64.elf)
        demo_base=0x40080000 demo_device='virt (AArch64)'
        ;;
    avr)
        demo_qemu_command=(qemu-system-avr -M mega2560 -bios $images/avr.elf)
        demo_base=0x00800200 demo_device=mega2560
        ;;
    *)
        echo "There is no machine $1: use arm, mips, riscv32, riscv64, aarch64 or avr." >&2
        return 1
        ;;
    esac
    demo_qemu_command+=(-nographic -serial null -monitor none)
}

# demo_qemu_package MACHINE: the package that has it.
demo_qemu_package() {
    case $1 in
    arm | aarch64) echo qemu-system-arm ;;
    mips) echo qemu-system-mips ;;
    *) echo qemu-system-misc ;;
    esac
}

demo_start_qemu() {
    local port
    port=$(demo_free_port)
    "${demo_qemu_command[@]}" -gdb "tcp:127.0.0.1:$port" </dev/null >"$demo_dir/qemu.log" 2>&1 &
    demo_pids+=($!)
    demo_wait_for_port "$port"
    demo_use_settings '[GENERAL]' 'ConnectMode = 2' "HostName=\"gdb:127.0.0.1:$port\"" \
        '[CPU]' "Device=\"$demo_device\"" "EndianMode = $demo_big"
}

demo_start_openocd() {
    local board_port tcl_port
    board_port=$(demo_free_port)
    build/bin/boardmodel "$board_port" >"$demo_dir/board.log" 2>&1 &
    demo_pids+=($!)
    demo_wait_for_port "$board_port"
    tcl_port=$(demo_free_port "$board_port")
    # After the start it would log every answer, the target's memory among them.
    openocd -c "set MODEL_PORT $board_port" -f openprobe/model/openocd.cfg \
        -c "tcl_port $tcl_port; gdb_port disabled; telnet_port disabled" \
        -c init -c "log_output /dev/null" >"$demo_dir/openocd.log" 2>&1 &
    demo_pids+=($!)
    demo_wait_for_port "$tcl_port"
    demo_base=0x20000000
    demo_use_settings '[GENERAL]' 'ConnectMode = 2' "HostName=\"tcl:127.0.0.1:$tcl_port\""
}

# demo_choose_process: fills demo_base with the lowest writable memory of the process, where its data
# are. Says so and fails when there is none that could be shown.
demo_choose_process() {
    local first
    case $demo_process in
    '' | *[!0-9]*)
        echo "After --pid stands the number of a running process, e.g. ./run --pid 4711." >&2
        return 1
        ;;
    esac
    [ -e "/proc/$demo_process" ] || {
        echo "There is no process $demo_process." >&2
        return 1
    }
    # Its mode lets everybody read; whether that is so shows when it is opened.
    first=$(awk -F'[- ]' '$3 ~ /^rw/ && length($1) <= 8 { print $1; exit }' \
        "/proc/$demo_process/maps" 2>/dev/null) || {
        echo "The memory of process $demo_process may not be read: choose a process of your own." >&2
        return 1
    }
    [ -n "$first" ] || {
        echo "Process $demo_process has no memory below 4 GiB: build it with -no-pie or -m32." >&2
        return 1
    }
    demo_base=0x$first
}

demo_start_pid() {
    demo_use_settings '[GENERAL]' 'ConnectMode = 2' "HostName=\"pid:$demo_process\""
}

# demo_run_visible MODE [ARGUMENT...]: the simulated target runs with the user's own settings, which
# may name another one.
demo_run_visible() {
    local mode=$1
    shift
    if [ "$mode" = sim ]; then
        build/bin/pelimo-openprobe sim -- "$@"
    else
        build/bin/pelimo "$@"
    fi
}

# demo_run_headless MODE [ARGUMENT...]: a virtual screen, the first dialog accepted, pictures of
# the way there and of the memory that changes.
demo_run_headless() {
    local mode=$1 dialog
    shift
    demo_start_screen
    [ "$mode" != sim ] || demo_use_settings
    build/bin/pelimo "$@" >"$demo_dir/pelimo.log" 2>&1 &
    demo_pids+=($!)
    dialog=$(timeout 20 xdotool search --sync --onlyvisible --name ' - Config$' | head -n 1)
    demo_shot "$mode-1-connection"
    demo_type "$dialog" Return
    demo_wait_for_memory
    demo_shot "$mode-2-memory"
    # Ctrl+R asks for the refresh interval, Home and Return take the first one: 100 ms.
    demo_type "$(xdotool search --onlyvisible --name '^TOLVEN Pelimo' | head -n 1)" ctrl+r
    dialog=$(timeout 10 xdotool search --sync --onlyvisible --name '^Periodic Refresh$' | head -n 1)
    demo_type "$dialog" Home Return
    sleep 1
    demo_shot "$mode-3-live"
}

demo_start_screen() {
    local try
    rm -f "$demo_dir/display"
    Xvfb -displayfd 3 -screen 0 1280x900x24 3>"$demo_dir/display" >"$demo_dir/xvfb.log" 2>&1 &
    demo_pids+=($!)
    for try in $(seq 100); do
        [ ! -s "$demo_dir/display" ] || break
        sleep 0.1
    done
    DISPLAY=:$(cat "$demo_dir/display")
    export DISPLAY
}

# demo_type WINDOW KEY...: as a keyboard does it, to whatever has the focus then.
demo_type() {
    xdotool windowfocus --sync "$1"
    shift
    xdotool key "$@"
}

demo_shot() {
    import -window root "$demo_dir/$1.png"
    echo "build/demo/$1.png"
}

# The dialog is gone and the main window has had time to connect and to paint.
demo_wait_for_memory() {
    local try
    for try in $(seq 50); do
        xdotool search --onlyvisible --name ' - Config$' >/dev/null 2>&1 || break
        sleep 0.1
    done
    sleep 1
}
