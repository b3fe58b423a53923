# Runs qorctl in a scratch folder and compares its output and exit status with what they must be.
# Arguments: QORCTL, WRITER (the log writer), EMULATOR (empty, or wine for the Windows build),
# VERSION, WORK_DIR, PLUGIN_DIR (the test plug-ins).

cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

# run(<args>...): runs qorctl with the environment in RUN_ENV; sets OUT, ERR and RC.
function(run)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env --unset=NO_COLOR ${RUN_ENV} ${EMULATOR} ${QORCTL} ${ARGN}
    WORKING_DIRECTORY ${WORK_DIR}/${RUN_DIR}
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err TIMEOUT 120)
  string(REPLACE "\r" "" out "${out}")
  string(REPLACE "\r" "" err "${err}")
  set(OUT "${out}" PARENT_SCOPE)
  set(ERR "${err}" PARENT_SCOPE)
  set(RC "${rc}" PARENT_SCOPE)
endfunction()

function(fail name what)
  set_property(GLOBAL APPEND_STRING PROPERTY QORCTL_FAILURES "\n[${name}] ${what}")
endfunction()

# expect(<name> <status> <stdout> <stderr>): exact texts; "*" accepts any text.
function(expect name status stdout stderr)
  if(NOT "${RC}" STREQUAL "${status}")
    fail(${name} "exit status ${RC}, expected ${status}; stderr: ${ERR}")
  endif()
  if(NOT "${stdout}" STREQUAL "*" AND NOT "${OUT}" STREQUAL "${stdout}")
    fail(${name} "stdout:\n${OUT}\nexpected:\n${stdout}")
  endif()
  if(NOT "${stderr}" STREQUAL "*" AND NOT "${ERR}" STREQUAL "${stderr}")
    fail(${name} "stderr:\n${ERR}\nexpected:\n${stderr}")
  endif()
endfunction()

function(expect_match name text regex)
  if(NOT "${text}" MATCHES "${regex}")
    fail(${name} "'${text}' does not match '${regex}'")
  endif()
endfunction()

set(RUN_ENV "")
set(RUN_DIR "")
if(EMULATOR)
  # The Windows build runs under wine, whose drive Z: is the root of the file system.
  string(REPLACE "/" "\\" PLUGIN_DIR "Z:${PLUGIN_DIR}")
endif()

# ---- conventions -------------------------------------------------------------------------------

run(--version)
expect(version 0 "qorctl ${VERSION} (QorCommon3)\n" "")
run()
expect(no-command 2 "" "qorctl: missing command\nTry 'qorctl --help'.\n")
run(frobnicate)
expect(unknown-command 2 "" "qorctl: unknown command 'frobnicate'\nTry 'qorctl --help'.\n")
run(help log view)
expect(help-topic 0 "*" "")
expect_match(help-topic "${OUT}" "^usage: qorctl log view ")
run(help frobnicate)
expect(help-unknown-topic 2 "" "qorctl: no help on 'frobnicate'\nTry 'qorctl --help'.\n")
run(config check --bogus x.cfg)
expect(unknown-option 2 "" "qorctl: unknown option --bogus\nTry 'qorctl config check --help'.\n")
run(log view --count many)
expect(bad-number 2 "" "*")
foreach(command "run" "config check" "config get" "config dump" "config set" "config defs" "macro"
                "log write" "log view" "log stats")
  separate_arguments(words UNIX_COMMAND "${command}")
  run(${words} --help)
  expect("help ${command}" 0 "*" "")
  expect_match("help ${command}" "${OUT}" "^usage: qorctl ${command}")
endforeach()

# ---- config check --------------------------------------------------------------------------------

file(WRITE ${WORK_DIR}/bad.cfg
  "# every kind of error\n[GLOBAL\nX\nNAME\nA = 1\n[S]\nQ = \"open\nE = \"\\q\"\nU = \"\\x\"\nGOOD = \"fine\"\n")
file(WRITE ${WORK_DIR}/good.cfg "[S]\nK = 1 <|> 2\nT = \"a b\" \"c\\x41\"\n")
file(WRITE ${WORK_DIR}/abort.cfg "[S]\nA = \"\\xZZ\"\n")
run(config check bad.cfg good.cfg missing.cfg abort.cfg)
expect(check 1
  "bad.cfg:2: Missing ']' closing.\nbad.cfg:3: Line is too small to be an entry.\nbad.cfg:3: Missing '=' delimiter.\nbad.cfg:4: Missing '=' delimiter.\nbad.cfg:7: value: \"open Missing quote closing.\nbad.cfg:8: value: \"\\q\" Unknown escape sequence: '\\q'.\nbad.cfg:9: value: \"\\x\" Unfinished escape sequence to insert ASCII code.\nCannot open config file 'missing.cfg'.\nabort.cfg: invalid stoul argument\n"
  "")
run(config check good.cfg)
expect(check-clean 0 "" "")
run(config check)
expect(check-no-file 2 "*" "*")

# ---- the chain: get, dump, set -------------------------------------------------------------------

file(WRITE ${WORK_DIR}/orvane.cfg "[S]\nK = file <|> two\nONLY = f\n")
file(WRITE ${WORK_DIR}/writing.cfg "[ORVANE_CONFIG_HANDLER]\nIS_WRITING_ENABLED = true\n[S]\nK = 1\n")
set(RUN_ENV ORVANE__S__K=env)
run(-cS/K=cla config get S/K)
expect(get-command-line 0 "cla\n" "")
run(config get S/K)
expect(get-environment 0 "env\n" "")
set(RUN_ENV "")
run(config get S/K)
expect(get-file 0 "file\ntwo\n" "")
run(config get S/NONE)
expect(get-unknown 1 "" "qorctl: Orvane::Core::OrvanecfgConfigHandler: Entry not found: S/NONE\n")
run(config get NOSLASH)
expect(get-bad-path 1 "" "qorctl: Incorrect config path: 'NOSLASH'.\n")
run(--config absent.cfg config get S/K)
expect(get-absent-file 1 "" "qorctl: cannot read configuration file 'absent.cfg'\n")

set(RUN_ENV ORVANE__S__K=env ORVANE__ENVVAR_CONFIG_HANDLER__PREFIX=ORVANE)
run(-cS/K=cla -cS/NEW=n config dump)
set(RUN_ENV "")
expect(dump 0 "*" "")
expect_match(dump "${OUT}"
  "\nS/K = cla  \\(command line\\)\n    hides environment: env\n    hides file: file <\\|> two\nS/NEW = n  \\(command line\\)\nS/ONLY = f  \\(file\\)\n")
expect_match(dump "${OUT}" "ENVVAR_CONFIG_HANDLER/PREFIX = ORVANE  \\(environment\\)\n")
expect_match(dump "${OUT}" "ORVANE_LOGGING_HANDLER/LOG_FILE_SIZE = 10485760  \\(default\\)\n")
run(-cS/K=cla config dump --json)
expect(dump-json 0 "*" "")
string(JSON count LENGTH "${OUT}")
set(found FALSE)
math(EXPR last "${count} - 1")
foreach(i RANGE ${last})
  string(JSON path GET "${OUT}" ${i} path)
  if(path STREQUAL "S/K")
    set(found TRUE)
    string(JSON source GET "${OUT}" ${i} source)
    string(JSON value GET "${OUT}" ${i} values 0)
    string(JSON hiddenSource GET "${OUT}" ${i} hidden 0 source)
    string(JSON hiddenValue GET "${OUT}" ${i} hidden 0 values 1)
    if(NOT "${source}|${value}|${hiddenSource}|${hiddenValue}" STREQUAL "command line|cla|file|two")
      fail(dump-json "S/K: ${source}|${value}|${hiddenSource}|${hiddenValue}")
    endif()
  endif()
endforeach()
if(NOT found)
  fail(dump-json "no S/K in ${OUT}")
endif()

# "--config=FILE" and a macro that reads the chain through the environment.
set(RUN_ENV ORVANE__S__ONLY=fromenv)
run(--config=writing.cfg macro "$(get_cfg:S/ONLY,none)|$(get_cfg:S/K)")
set(RUN_ENV "")
expect(macro-reads-chain 0 "fromenv|1\n" "")

# Values that JSON must escape come back whole.
run("-cS/Q=say \"hi\"\\now" config dump --json)
expect(dump-json-escapes 0 "*" "")
string(JSON count LENGTH "${OUT}")
math(EXPR last "${count} - 1")
set(quoted "")
foreach(i RANGE ${last})
  string(JSON path GET "${OUT}" ${i} path)
  if(path STREQUAL "S/Q")
    string(JSON quoted GET "${OUT}" ${i} values 0)
  endif()
endforeach()
if(NOT quoted STREQUAL "say \"hi\"\\now")
  fail(dump-json-escapes "S/Q read back as '${quoted}'")
endif()
run(--config)
expect(config-without-file 2 "" "qorctl: option --config needs a value\nTry 'qorctl --help'.\n")

run(config set S/K x)
expect(set-disabled 1 "" "qorctl: setting of entry value is not enabled\n")
file(READ ${WORK_DIR}/orvane.cfg unchanged)
if(NOT unchanged STREQUAL "[S]\nK = file <|> two\nONLY = f\n")
  fail(set-disabled "the file changed: ${unchanged}")
endif()
file(WRITE ${WORK_DIR}/setting.cfg "[ORVANE_CONFIG_HANDLER]\nIS_SETTING_ENABLED = yes\n")
run(--config setting.cfg config set S/K x)
expect(set-cache-only 1 "" "qorctl: writing of orvane config file is not enabled\n")
run(--config writing.cfg -cS/K=top config set S/K "a b" c)
expect(set 0 "" "qorctl: note: the command line hides the value written: top\n")
run(--config writing.cfg config get S/K)
expect(set-read-back 0 "a b\nc\n" "")
run(config set S/K)
expect(set-no-value 2 "" "*")

# ---- config defs ---------------------------------------------------------------------------------

run(config defs)
expect(defs 0 "*" "")
expect_match(defs "${OUT}" "\n  ENVVAR_CONFIG_HANDLER/PREFIX\n[^\n]*\n      string, one value, default: ORVANE\n")
expect_match(defs "${OUT}" "\n  ORVANE_LOGGING_HANDLER/LOG_DEST\n[^\n]*\n      string, list, default: File\n      some of:\n        File\n        Console\n")
# The framework's entries offer the registered features as their values.
expect_match(defs "${OUT}" "\n  GLOBAL/LOGGING_HANDLER\n[^\n]*\n      string, one value, default: orvanelog\n      known values:\n        orvanelog [^\n]*\n        simple ")
run(config defs --json)
expect(defs-json 0 "*" "")
string(JSON count LENGTH "${OUT}")
set(found FALSE)
math(EXPR last "${count} - 1")
foreach(i RANGE ${last})
  string(JSON path GET "${OUT}" ${i} path)
  if(path STREQUAL "ORVANE_CONFIG_HANDLER/IS_WRITING_ENABLED")
    string(JSON type GET "${OUT}" ${i} type)
    string(JSON default GET "${OUT}" ${i} defaults 0)
    if("${type}|${default}" STREQUAL "boolean|false")
      set(found TRUE)
    endif()
  endif()
endforeach()
if(NOT found)
  fail(defs-json "IS_WRITING_ENABLED is missing or wrong")
endif()

# ---- macro ---------------------------------------------------------------------------------------

run(-cS/K=v macro "a $(operation:1,+,2) $(get_cfg:S/K)")
expect(macro 0 "a 3 v\n" "")
run(macro "x $(nosuch) $()$(if:true,{$(operation:1,+}")
expect(macro-errors 1 "*"
  "qorctl: unknown macro: nosuch\nqorctl: syntax error: unexpected ')'\nqorctl: syntax error: missing ')'\n")
expect_match(macro-errors "${OUT}" "^x \\[no value\\] \\[no value\\]")
run(macro)
expect(macro-no-template 2 "" "*")
run(macro --help)
expect(macro-help 0 "*" "")
expect_match(macro-help "${OUT}" "\n  b, block\n      \\$\\({b\\|block}")
run(macro --help --html)
expect(macro-html 0 "*" "")
expect_match(macro-html "${OUT}" "^<table>.*</table>\n$")

# ---- log write, view and stats -------------------------------------------------------------------

set(LOG_FILE -cORVANE_LOGGING_HANDLER/LOG_FILE=written.log)
run(${LOG_FILE} log write --priority w "careful now")
expect(write 0 "" "")
run(${LOG_FILE} log write "plain")
expect(write-default 0 "" "")
run(${LOG_FILE} "-cORVANE_LOGGING_HANDLER/LOG_LEVEL=Level 1" log write --priority i "quiet")
expect(write-filtered 1 ""
  "qorctl: the configuration does not log entries of priority Info\n")
run(${LOG_FILE} log write --priority all x)
expect(write-bad-priority 2 "" "*")
run(${LOG_FILE} log view)
expect(view-written 0 "*" "")
expect_match(view-written "${OUT}"
  "^[0-9a-f]+: [0-9-]+T[0-9:.]+ Warning: careful now \\[qorctl\\] {}\n[0-9a-f]+: [0-9-]+T[0-9:.]+ Message: plain \\[qorctl\\] {}\n$")

# A log with foreign lines, a message that runs over two lines, a torn last line, and files
# renamed aside (the numbered one after the plain one of the same time stamp).
file(WRITE ${WORK_DIR}/app_20260102095900000.log
  "000000aa: 2026-01-02T09:59:00.000 Info: oldest [app] {}\n")
file(WRITE ${WORK_DIR}/app_20260102095900000_1.log
  "000000aa: 2026-01-02T09:59:30.000 Hint: older [app] {}\n")
file(WRITE ${WORK_DIR}/app_old.log "not a rotated file\n")
file(WRITE ${WORK_DIR}/app.log
  "garbage before any entry\n000000aa: 2026-01-02T10:00:00.000 Message: first [app] {a.cpp:1}\n000000aa: 2026-01-02T10:00:30.000   Error: broken [app] {}\nsecond line of the error\n000000bb: 2026-01-02T10:01:00.000 Warning: careful [other] {}\n000000bb: 2026-01-02T10:01:10.000 Function start: f [other] {f.cpp:3}\n000000aa: 2026-01-02T10:02:00.000 Fatal Error: down [app] {}\n000000aa: 2026-01-02T10:02:01.500 Message: cut of")
run(log view app.log)
expect(view-all 0
  "000000aa: 2026-01-02T09:59:00.000 Info: oldest [app] {}\n000000aa: 2026-01-02T09:59:30.000 Hint: older [app] {}\ngarbage before any entry\n000000aa: 2026-01-02T10:00:00.000 Message: first [app] {a.cpp:1}\n000000aa: 2026-01-02T10:00:30.000   Error: broken [app] {}\nsecond line of the error\n000000bb: 2026-01-02T10:01:00.000 Warning: careful [other] {}\n000000bb: 2026-01-02T10:01:10.000 Function start: f [other] {f.cpp:3}\n000000aa: 2026-01-02T10:02:00.000 Fatal Error: down [app] {}\n000000aa: 2026-01-02T10:02:01.500 Message: cut of\n"
  "")
run(log view app.log --priority e,fatal)
expect(view-priority 0
  "000000aa: 2026-01-02T10:00:30.000   Error: broken [app] {}\nsecond line of the error\n000000aa: 2026-01-02T10:02:00.000 Fatal Error: down [app] {}\n000000aa: 2026-01-02T10:02:01.500 Message: cut of\n"
  "")
run(log view app.log --priority s)
expect(view-frames-are-status 0
  "000000bb: 2026-01-02T10:01:10.000 Function start: f [other] {f.cpp:3}\n" "")
run(log view app.log --thread 0000BB --since "2026-01-02 10:01:05")
expect(view-thread-since 0
  "000000bb: 2026-01-02T10:01:10.000 Function start: f [other] {f.cpp:3}\n" "")
run(log view app.log --count 2)
expect(view-count 0
  "000000aa: 2026-01-02T09:59:00.000 Info: oldest [app] {}\n000000aa: 2026-01-02T09:59:30.000 Hint: older [app] {}\n" "")
run(log view app.log --since yesterday)
expect(view-bad-since 2 "" "*")
run(log view app.log --priority loud)
expect(view-bad-priority 2 "" "*")
run(log view missing.log)
expect(view-missing 1 "" "qorctl: cannot read log file 'missing.log'\n")

run(log stats app.log)
expect(stats 0
  "Entries: 7\nLines outside the log format: 3\n\nPer priority:\n  Info          1\n  Hint          1\n  Status        1\n  Message       1\n  Warning       1\n  Error         1\n  FatalError    1\n\nPer logger:\n  app  5\n  other  2\n\nBusiest minutes:\n  2026-01-02T09:59  ######################################## 2\n  2026-01-02T10:00  ######################################## 2\n  2026-01-02T10:01  ######################################## 2\n  2026-01-02T10:02  #################### 1\n"
  "")

# A log written on Windows: CR LF line ends.
file(WRITE ${WORK_DIR}/crlf.log "000000aa: 2026-01-02T10:00:00.000 Error: one [app] {}\r\nmore\r\n000000aa: 2026-01-02T10:00:01.000 Info: two [app] {}\r\n")
run(log view crlf.log --priority e)
expect(view-crlf 0 "000000aa: 2026-01-02T10:00:00.000 Error: one [app] {}\nmore\n" "")

# A very long line is read like any other.
string(REPEAT "x" 200000 longText)
file(WRITE ${WORK_DIR}/long.log "000000aa: 2026-01-02T10:00:00.000 Error: ${longText} [app] {}\n000000aa: 2026-01-02T10:00:01.000 Info: short [app] {}\n")
run(log view long.log --priority i)
expect(view-long-line 0 "000000aa: 2026-01-02T10:00:01.000 Info: short [app] {}\n" "")

# The histogram keeps the ten busiest minutes, the busiest first, ties in time order.
set(busy "")
foreach(minute RANGE 10 21)
  set(times 1)
  if(minute EQUAL 15)
    set(times 3)
  endif()
  foreach(n RANGE 1 ${times})
    string(APPEND busy "00000001: 2026-01-02T10:${minute}:0${n}.000 Info: tick [app] {}\n")
  endforeach()
endforeach()
file(WRITE ${WORK_DIR}/busy.log "${busy}")
run(log stats busy.log)
expect(stats-top-ten 0 "*" "")
expect_match(stats-top-ten "${OUT}" "\nBusiest minutes:\n  2026-01-02T10:15  #+ 3\n  2026-01-02T10:10  ############# 1\n")
string(REGEX MATCHALL "\n  2026-01-02T10:[0-9]+  " rows "${OUT}")
list(LENGTH rows rowCount)
string(FIND "${OUT}" "10:19" lastShown)
string(FIND "${OUT}" "10:20" firstHidden)
if(NOT rowCount EQUAL 10 OR lastShown EQUAL -1 OR NOT firstHidden EQUAL -1)
  fail(stats-top-ten "${rowCount} rows:\n${OUT}")
endif()

# A format of its own: the priority is a field, not a message prefix.
file(WRITE ${WORK_DIR}/custom.log "Warning|x\nError|y\njunk\nWARN|z\n")
run("-cORVANE_LOGGING_HANDLER/LOG_FORMAT=$(priority:long)|$(message)" log view custom.log --priority w)
expect(view-custom-format 0 "Warning|x\n" "")
run("-cORVANE_LOGGING_HANDLER/LOG_FORMAT=$(priority:long)|$(message)" log view custom.log --thread 1)
expect(view-no-thread-field 1 "" "qorctl: the log format has no thread id\n")
file(WRITE ${WORK_DIR}/log4j.log "WARN a\nDEBUG b\nFATAL c\n")
run("-cORVANE_LOGGING_HANDLER/LOG_FORMAT=$(priority:log4j) $(message)" log view log4j.log --priority w,f)
expect(view-log4j-priority 0 "WARN a\nFATAL c\n" "")
run("-cORVANE_LOGGING_HANDLER/LOG_FORMAT=$(priority:log4j) $(message)" log stats log4j.log)
expect(stats-without-time 0 "Entries: 3\n\nPer priority:\n  (not shown)   1\n  Warning       1\n  FatalError    1\n" "")

# ---- run: the library started as a host ---------------------------------------------------------

file(MAKE_DIRECTORY ${WORK_DIR}/host)
set(RUN_DIR host)
run(-cGLOBAL/APP_NAME=demo run)
expect(run-defaults 0 "*" "*")
expect_match(run-defaults "${OUT}"
  "^Library: QorCommon3 ${VERSION}\nHost module: demo[^\n]*\nConfiguration: built-in defaults \\(no orvane.cfg\\)\n\nConfiguration chain \\(head to tail\\):\n  1. Orvane::Core::CLAConfigHandler\n  2. Orvane::Core::MemoryConfigHandler\n")
expect_match(run-defaults "${OUT}" "\n  config_handler: [^\n]*orvanecfg")
expect_match(run-defaults "${OUT}" "\nPlug-ins:\n  \\(none\\)\n")
# The frames nest in the listener's view, and the error reaches the collector's listeners.
expect_match(run-defaults "${OUT}"
  "\nLogging listener received:\n  Status [^\n]* begin [^\n]*outerStep\n  Status [^\n]*  begin [^\n]*middleStep\n  Message [^\n]*  calling the sample step\n  Status [^\n]*    begin [^\n]*storeStep\n  Error [^\n]*    the sample step failed\n")
expect_match(run-defaults "${OUT}"
  "\nError collector listener received:\n  \\[QorCommon3\\] sample error of qorctl run \\(raised on purpose to show the collector\\)\n\nStopped.\n$")
file(READ ${WORK_DIR}/host/orvane.log hostLog)
expect_match(run-log "${hostLog}" "Error: the sample step failed \\[qorctl\\]")

# A plug-in whose configuration handler the chain names as its next link.
run(-cGLOBAL/PLUGIN_DIR=${PLUGIN_DIR} -cGLOBAL/PLUGINS=qortest_goodplugin
    -cGLOBAL/CONFIG_HANDLER=testcfg run)
expect(run-plugin 0 "*" "*")
expect_match(run-plugin "${OUT}"
  "\n  1. TestHandler\n  2. Orvane::Core::CLAConfigHandler\n  3. Orvane::Core::MemoryConfigHandler\n")
expect_match(run-plugin "${OUT}" "\n  config_handler: [^\n]*testcfg")
expect_match(run-plugin "${OUT}" "\nPlug-ins:\n  [^\n(]*qortest_goodplugin")

# The configuration commands on the chain of the started library: the plug-in's handler answers
# first and hides the command line.
set(PLUGIN_ARGS -cGLOBAL/PLUGIN_DIR=${PLUGIN_DIR} -cGLOBAL/PLUGINS=qortest_goodplugin
    -cGLOBAL/CONFIG_HANDLER=testcfg)
run(${PLUGIN_ARGS} -cTEST/VALUE=mine config dump --framework)
expect(dump-framework 0 "*" "*")
expect_match(dump-framework "${OUT}"
  "\nTEST/VALUE = from plugin  \\(plug-in handler TestHandler\\)\n    hides command line: mine\n")
run(${PLUGIN_ARGS} config get --framework TEST/VALUE)
expect(get-framework 0 "from plugin\n" "*")
run(${PLUGIN_ARGS} config defs --framework --json)
expect(defs-framework 0 "*" "*")
string(JSON count LENGTH "${OUT}")
set(features "")
math(EXPR last "${count} - 1")
foreach(i RANGE ${last})
  string(JSON path GET "${OUT}" ${i} path)
  if(path STREQUAL "GLOBAL/CONFIG_HANDLER")
    string(JSON choices LENGTH "${OUT}" ${i} choices)
    math(EXPR lastChoice "${choices} - 1")
    foreach(c RANGE ${lastChoice})
      string(JSON value GET "${OUT}" ${i} choices ${c} value)
      list(APPEND features ${value})
    endforeach()
  endif()
endforeach()
if(NOT "testcfg" IN_LIST features)
  fail(defs-framework "the plug-in's handler is no value of GLOBAL/CONFIG_HANDLER: ${features}")
endif()
run(${PLUGIN_ARGS} config get TEST/VALUE)
expect(get-without-framework 1 "" "*")

# A file that names the next link of the chain, with an error that start-up reports.
file(WRITE ${WORK_DIR}/host/orvane.cfg "[GLOBAL]\nCONFIG_HANDLER = envvar\nAPP_NAME = fromfile\nBROKEN\n")
run(run)
expect(run-file 0 "*" "*")
expect_match(run-file "${OUT}"
  "\nHost module: fromfile[^\n]*\nConfiguration: orvane.cfg\n\nConfiguration chain \\(head to tail\\):\n  1. Orvane::Core::EnvVarConfigHandler\n  2. Orvane::Core::OrvanecfgConfigHandler\n")
expect_match(run-file "${OUT}" "received:\n  \\[QorCommon3\\] Cannot initialize config handler properly \\([^\n]*orvane.cfg:4: Missing '=' delimiter.\\)\n")
set(RUN_DIR "")

# ---- following a log that rotates ----------------------------------------------------------------

# The writer and qorctl run side by side (a pipe joins them and carries nothing); qorctl stops
# after the 60 entries. Every entry must come exactly once and in order, whenever the renames
# happen relative to qorctl's reading.
execute_process(
  COMMAND ${EMULATOR} ${WRITER} follow.log 60 20
  COMMAND ${EMULATOR} ${QORCTL} log view follow.log --follow --count 60
  WORKING_DIRECTORY ${WORK_DIR}
  RESULTS_VARIABLE results OUTPUT_VARIABLE out ERROR_VARIABLE err TIMEOUT 300)
string(REPLACE "\r" "" out "${out}")
string(REGEX MATCHALL "entry [0-9]+" seen "${out}")
set(wanted "")
foreach(i RANGE 59)
  string(LENGTH "${i}" digits)
  math(EXPR zeros "4 - ${digits}")
  string(REPEAT "0" ${zeros} pad)
  list(APPEND wanted "entry ${pad}${i}")
endforeach()
if(NOT "${seen}" STREQUAL "${wanted}" OR NOT "${results}" STREQUAL "0;0")
  fail(follow "status ${results}, entries: ${seen}\n${err}")
endif()
file(GLOB rotated ${WORK_DIR}/follow_*.log)
list(LENGTH rotated rotations)
if(rotations LESS 2)
  fail(follow "the log was renamed aside ${rotations} times only")
endif()

get_property(failures GLOBAL PROPERTY QORCTL_FAILURES)
if(failures)
  message(FATAL_ERROR "qorctl failures:${failures}")
endif()
