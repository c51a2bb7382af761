(* alert.cfg of the log-monitoring agent: comments, value lists, and one line per file system. *)
module LoggerAlert =

let eol = del "\n" "\n"
let comment = [ label "#comment" . del "# " "# " . store /[^ \n][^\n]*/ . eol ]

let field = [ seq "field" . store /[^,() \n]+/ ]
let list = [ key /CPU|MEMORY|FILESYSTEM/ . counter "field" . del "=(" "=("
           . field . ( del ", " ", " . field )* . del ")" ")" . eol ]

let disabled = [ label "disabled" . del "#KZM# \t" "#KZM# \t" ]
let volume = [ label "volume" . disabled? . del "FSNAME=\"" "FSNAME=\"" . store /[^"\n]+/
             . del "\"   (" "\"   (" . [ label "threshold" . store /[0-9]+/ ] . del ")" ")" . eol ]

let lns = ( comment | list | volume )*
