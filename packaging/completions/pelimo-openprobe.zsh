#compdef pelimo-openprobe

_pelimo_openprobe_selectors() {
  local -a targets=(
    'sim:simulated target'
    'sim\:1:simulated target, big-endian'
    'sim\:2:simulated target, slow'
    'sim\:3:simulated target that unplugs itself'
    'localhost:GDB remote protocol at port 1234'
  )
  if compset -P 'pid:'; then
    _pids
  elif compset -P '(gdb|tcl):'; then
    _hosts -S ':'
  else
    _describe -t targets target targets
    compadd -S '' -- gdb: tcl: pid:
  fi
}

_arguments -S \
  '(- 1)--help[show what it does]' \
  '(- 1)--list[show the selectors, each with an example]' \
  '(- 1)--version[show the version]' \
  '1:target:_pelimo_openprobe_selectors'
