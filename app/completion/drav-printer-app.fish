# SPDX-License-Identifier: Apache-2.0
set -l drav complete -c drav-printer-app
$drav -n __fish_use_subcommand -a server -d 'run the server in the foreground'
$drav -n __fish_use_subcommand -a add -d 'add a queue'
$drav -n __fish_use_subcommand -a autoadd -d 'add queues for the printers on USB'
$drav -n __fish_use_subcommand -a modify -d 'change the defaults of a queue'
$drav -n __fish_use_subcommand -a delete -d 'remove a queue'
$drav -n __fish_use_subcommand -a default -d 'show or set the default queue'
$drav -n __fish_use_subcommand -a devices -d 'list the printers on USB'
$drav -n __fish_use_subcommand -a drivers -d 'list the models'
$drav -n __fish_use_subcommand -a printers -d 'list the queues'
$drav -n __fish_use_subcommand -a options -d 'list the options of a queue'
$drav -n __fish_use_subcommand -a submit -d 'print files'
$drav -n __fish_use_subcommand -a jobs -d 'list the jobs of a queue'
$drav -n __fish_use_subcommand -a cancel -d 'cancel jobs'
$drav -n __fish_use_subcommand -a pause -d 'hold the jobs of a queue'
$drav -n __fish_use_subcommand -a resume -d 'let the jobs of a queue go on'
$drav -n __fish_use_subcommand -a status -d 'show the state of the server or of a queue'
$drav -n __fish_use_subcommand -a shutdown -d 'end the server'
$drav -s a -d 'all jobs'
# A command that finds no server would start one.
$drav -s d -x -d queue -a "(string match -q 'Running*' (drav-printer-app status 2>/dev/null); and drav-printer-app printers 2>/dev/null)"
$drav -s h -x -d 'host of the server'
$drav -s j -x -d job
$drav -s m -x -d model -a "(drav-printer-app drivers 2>/dev/null | string split -f 1 ' ')"
$drav -s n -x -d copies
$drav -n '__fish_seen_subcommand_from server' -s o -x -d option -a 'server-port= listen-hostname= server-hostname= share=yes tls=no pdf=no web=no file-devices=yes spool-directory= state-file= log-file= log-level='
$drav -n '__fish_seen_subcommand_from add' -s o -x -d option -a queues=usual
$drav -s o -x -d option
$drav -s t -x -d title
$drav -s u -x -d 'address of a queue'
$drav -s v -x -d device -a '(drav-printer-app devices 2>/dev/null)'
$drav -l help -d 'show how it is used'
$drav -l version -d 'show the version'
