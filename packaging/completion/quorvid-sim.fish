# fish completion for quorvid-sim
complete -c quorvid-sim -f
complete -c quorvid-sim -s h -l help -d 'Print a summary'
complete -c quorvid-sim -l version -d 'Print the version'

complete -c quorvid-sim -l input -r -F -d 'Play this file'
complete -c quorvid-sim -l size -x -d 'Picture size, WxH'
complete -c quorvid-sim -l resize -x -d 'Size of the second half of the loop'
complete -c quorvid-sim -l sar -x -d 'Shape of a pixel, W:H'
complete -c quorvid-sim -l fps -x -d 'Frames a second'
complete -c quorvid-sim -l gop -x -d 'Frames from one key frame to the next'
complete -c quorvid-sim -l bitrate -x -d 'Bits a second'
complete -c quorvid-sim -l seconds -x -d 'Length of the loop at most'
complete -c quorvid-sim -l cache -x -a '(__fish_complete_directories)' -d 'Keep encoded scenes in this folder'
complete -c quorvid-sim -l sei -d 'Put a SEI unit into the key frames'
complete -c quorvid-sim -l audio -d 'Put audio packets between the frames'
complete -c quorvid-sim -l live -d 'Play by the clock'

complete -c quorvid-sim -l bind -x -d 'IPv4 address to listen on'
complete -c quorvid-sim -l port -x -d 'Port of the fleet streams'
complete -c quorvid-sim -l list-port -x -d 'Port of the device list'
complete -c quorvid-sim -l relay-port -x -d 'Port of the relay lookup'
complete -c quorvid-sim -l car-port -x -d 'Port of the car streams'
complete -c quorvid-sim -l json -d 'Print the ports as one JSON object'
complete -c quorvid-sim -l send-log -r -F -d 'Write down when pictures left'
complete -c quorvid-sim -l devices -x -d 'Devices to announce: a number or names'
complete -c quorvid-sim -l channels -x -d 'Channels served'

complete -c quorvid-sim -l reply-tag -x -a '3GAPV103 3GAPV104 3GAPV105' -d 'Tag of the replies'
complete -c quorvid-sim -l garbage -x -d 'Random bytes before the tag of a reply'
complete -c quorvid-sim -l items -x -d 'Records in the list reply'
complete -c quorvid-sim -l item-len -x -d 'Length of a record'
complete -c quorvid-sim -l relay-extra -x -d 'Bytes before the address in the relay reply'
complete -c quorvid-sim -l gap -x -d 'Leave out every Nth frame of the car stream'

set -l faults refuse unanswered delay answer bad-kind wrong-tag wrong-command too-large negative \
  length count short-header short-record one-byte split-port stall close reset random noise damage burst flood \
  lose
complete -c quorvid-sim -l close -x -a 'order reset' -d 'How connections end'
complete -c quorvid-sim -l drop-after -x -d 'End each stream after so many seconds'
complete -c quorvid-sim -l stall-after -x -d 'Fall silent after so many seconds'
complete -c quorvid-sim -l fault -x -a "$faults" -d 'Make something go wrong'
complete -c quorvid-sim -l fault-times -x -d 'Connections that faults hit'
complete -c quorvid-sim -l fault-sweep -x -d 'Places of a close, reset or stall'
complete -c quorvid-sim -l seed -x -d 'Where the random bytes start'
