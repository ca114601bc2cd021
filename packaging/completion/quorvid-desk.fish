# fish completion for quorvid-desk
complete -c quorvid-desk -f
complete -c quorvid-desk -s h -l help -d 'Print a summary'
complete -c quorvid-desk -l version -d 'Print the version'
complete -c quorvid-desk -l kiosk -x -d 'Show this layout on the full screen'
complete -c quorvid-desk -l page-seconds -x -d 'Turn a kiosk\'s page so often'
complete -c quorvid-desk -l stats -d 'Figures as a line of JSON each second'
complete -c quorvid-desk -l settings -r -F -d 'Keep settings in this file'
complete -c quorvid-desk -l simulator -x -d 'Further options of the bundled simulator'
