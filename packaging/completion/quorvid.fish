# fish completion for quorvid
set -l commands view list gps record probe
complete -c quorvid -f
complete -c quorvid -s h -l help -d 'Print a summary'
complete -c quorvid -l version -d 'Print the version'
complete -c quorvid -n "not __fish_seen_subcommand_from $commands" -a view -d 'Show live channels of devices'
complete -c quorvid -n "not __fish_seen_subcommand_from $commands" -a list -d 'List the devices of an account'
complete -c quorvid -n "not __fish_seen_subcommand_from $commands" -a gps -d 'Follow the devices of an account'
complete -c quorvid -n "not __fish_seen_subcommand_from $commands" -a record -d 'Write a stream into a file'
complete -c quorvid -n "not __fish_seen_subcommand_from $commands" -a probe -d 'Examine a stream step by step'

set -l any "__fish_seen_subcommand_from $commands"
complete -c quorvid -n $any -l account -x -d Account
complete -c quorvid -n $any -l password-file -r -F -d 'File whose first line is the password'

set -l stream '__fish_seen_subcommand_from view record probe'
complete -c quorvid -n $stream -l device -x -d 'Device identifier'
complete -c quorvid -n $stream -l path -x -a 'fleet car relay' -d 'Where the stream comes from'
complete -c quorvid -n $stream -l channel -x -d 'Camera, 0 to 7'
complete -c quorvid -n $stream -l seconds -x -d 'End after so many seconds'

set -l view '__fish_seen_subcommand_from view'
complete -c quorvid -n $view -l size -x -d 'Size of the content, WxH'
complete -c quorvid -n $view -l headless -d 'No window; draw off screen'
complete -c quorvid -n $view -l snapshot -r -F -d 'Write the last picture at the end'
complete -c quorvid -n $view -l tile-snapshots -x -a '(__fish_complete_directories)' -d 'Write the last picture of each tile'
complete -c quorvid -n $view -l aspect -x -a 'stream 4:3 fill' -d 'Shape of the pictures'
complete -c quorvid -n $view -l stall -x -d 'Seconds until a stream without pictures is restarted'
complete -c quorvid -n $stream -l stats -d 'Figures as a line of JSON each second'
complete -c quorvid -n $view -l no-text -d 'No line of text on the tiles'
complete -c quorvid -n $view -l verbose -d 'Show changes and the lines of the library'

complete -c quorvid -n '__fish_seen_subcommand_from record' -s o -l output -r -F -d 'File: .h264, .mp4 or .mkv'
complete -c quorvid -n '__fish_seen_subcommand_from record' -l overwrite -d 'Replace the file where there is one'
complete -c quorvid -n '__fish_seen_subcommand_from record' -l split -x -d 'Begin a new file after so many minutes'
complete -c quorvid -n '__fish_seen_subcommand_from record' -l wait -d 'Try until a stream comes'
complete -c quorvid -n '__fish_seen_subcommand_from record' -l limit -x -d 'End before the file gets larger'
complete -c quorvid -n $any -l json -d 'Report as JSON'
complete -c quorvid -n '__fish_seen_subcommand_from probe list gps' -l timeout -x -d 'Give up after so many seconds'
complete -c quorvid -n '__fish_seen_subcommand_from list' -l raw -d 'Show the bytes of each block'
complete -c quorvid -n '__fish_seen_subcommand_from gps' -l polls -x -d 'End after so many polls'
