(* agent.cfg of the log-monitoring agent: comments and KEY=value lines. *)
module LoggerAgent =

let eol = del "\n" "\n"
let comment = [ label "#comment" . del /#[ ]*/ "# " . store /[^ \n][^\n]*/ . eol ]
let setting = [ key /[A-Za-z]+/ . del "=" "=" . store /[^ \n]+/ . eol ]

let lns = ( comment | setting )*
