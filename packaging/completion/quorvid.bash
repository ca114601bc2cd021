# bash completion for quorvid, quorvid-sim and quorvid-desk

# What stands before the cursor: current and previous word, where bash takes "=" and ":" for words of
# their own, as in --path=car and --fault reset:fleet.
_quorvid_words() {
  cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
  if [[ $cur == [=:] ]]; then
    [[ $cur == : ]] && prev=:
    cur=
  elif [[ $prev == = ]]; then
    prev=${COMP_WORDS[COMP_CWORD - 2]}
  fi
}

_quorvid_choose() {
  # shellcheck disable=SC2207  # the candidates are words
  COMPREPLY=($(compgen -W "$1" -- "$cur"))
}

# Names of files, or of folders alone: _quorvid_files [-d]
_quorvid_files() {
  compopt -o filenames 2>/dev/null
  local IFS=$'\n'
  # shellcheck disable=SC2207
  COMPREPLY=($(compgen "${1:--f}" -- "$cur"))
}

_quorvid() {
  local cur prev command='' word options
  local stream='--help --version --device --account --password-file --path --channel'
  _quorvid_words
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ $word == -* ]] || { command=$word; break; }
  done
  case $prev in
    --path) _quorvid_choose 'fleet car relay'; return ;;
    --aspect) _quorvid_choose 'stream 4:3 fill'; return ;;
    --password-file | --snapshot | --output | -o) _quorvid_files; return ;;
    --tile-snapshots) _quorvid_files -d; return ;;
    --device | --account | --channel | --size | --seconds | --stall | --split | --limit | --timeout | --polls) return ;;
  esac
  case $command in
    view)
      options="$stream --size --headless --seconds --snapshot --tile-snapshots --aspect --stall --json
        --stats --no-text --verbose"
      ;;
    record) options="$stream -o --output --overwrite --seconds --split --limit --wait --json --stats" ;;
    probe) options="$stream --seconds --timeout --json --stats" ;;
    list) options='--help --version --account --password-file --json --raw --timeout' ;;
    gps) options='--help --version --account --password-file --json --timeout --polls' ;;
    *) options='view list gps record probe --help --version' ;;
  esac
  [[ -n $command && $cur != -* ]] || _quorvid_choose "$options"
}
complete -F _quorvid quorvid

_quorvid_sim() {
  local cur prev
  _quorvid_words
  case $prev in
    :) _quorvid_choose 'fleet list relay car all'; return ;;
    --input | --send-log | --cache) _quorvid_files; return ;;
    --reply-tag) _quorvid_choose '3GAPV103 3GAPV104 3GAPV105'; return ;;
    --close) _quorvid_choose 'order reset'; return ;;
    --fault)
      _quorvid_choose 'refuse unanswered delay answer bad-kind wrong-tag wrong-command too-large negative
        length count short-header short-record one-byte split-port stall close reset random noise damage burst flood
        lose'
      return
      ;;
    --sei | --audio | --live | --json) ;;
    --*) return ;;  # a number or a text of the user's own
  esac
  _quorvid_choose '--help --version --input --size --resize --sar --fps --gop --bitrate --seconds --cache --sei
    --audio --live --bind --port --list-port --relay-port --car-port --json --send-log --devices --channels --reply-tag
    --garbage --items --item-len --relay-extra --gap --close --drop-after --stall-after --fault
    --fault-times --fault-sweep --seed'
}
complete -F _quorvid_sim quorvid-sim

_quorvid_desk() {
  local cur prev
  _quorvid_words
  case $prev in
    --settings) _quorvid_files; return ;;
    --kiosk | --page-seconds | --simulator) return ;;
  esac
  _quorvid_choose '--help --version --kiosk --page-seconds --stats --settings --simulator'
}
complete -F _quorvid_desk quorvid-desk
