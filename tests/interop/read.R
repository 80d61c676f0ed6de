# Reads a data file with haven (read_dta) or foreign (read.dta) and writes what it found, one item a
# line, fields separated by tabs, for compare.py:
#   datalabel <text>
#   var <name> <num|str> <format> <variable label> [<type code>]
#   val <name> <row> <number as %.17g | string | . | .a ... .z | NA>
#   label <name or table> <value> <text>
#   note <owner> <name> <text>
# usage: Rscript read.R haven|foreign file.dta
args <- commandArgs(TRUE)
tool <- args[1]
file <- args[2]
line <- function(...) cat(paste(c(...), collapse = "\t"), "\n", sep = "")
num <- function(x) sprintf("%.17g", x)
orempty <- function(x) if (is.null(x)) "" else x
# haven keeps a variable's display format in an attribute whose name begins with "format."
fmt_attr <- function(x) {
  a <- attributes(x)
  k <- grep("^format[.]", names(a))
  if (length(k)) a[[k[1]]] else ""
}

if (tool == "haven") {
  suppressMessages(library(haven))
  d <- read_dta(file)
  line("datalabel", orempty(attr(d, "label")))
  for (n in names(d)) {
    x <- d[[n]]
    str <- is.character(x)
    line("var", n, if (str) "str" else "num", fmt_attr(x), orempty(attr(x, "label")))
    for (k in seq_along(x)) {
      v <- x[[k]]
      if (str) {
        s <- v
      } else if (is.na(v)) {
        t <- na_tag(v)
        s <- paste0(".", if (is.na(t)) "" else t)
      } else {
        s <- num(as.numeric(v))
      }
      line("val", n, k, s)
    }
    labs <- attr(x, "labels")
    for (j in seq_along(labs)) {
      v <- labs[[j]]
      s <- if (is.na(v)) paste0(".", orempty(na_tag(v))) else num(v)
      line("label", n, s, names(labs)[j])
    }
  }
} else {
  suppressMessages(library(foreign))
  f <- read.dta(file, missing.type = TRUE, convert.factors = FALSE, convert.underscore = FALSE,
                convert.dates = FALSE)
  line("datalabel", orempty(attr(f, "datalabel")))
  miss <- attr(f, "missing")
  types <- attr(f, "types")
  for (j in seq_along(names(f))) {
    n <- names(f)[j]
    x <- f[[n]]
    str <- is.character(x)
    line("var", n, if (str) "str" else "num", attr(f, "formats")[j], attr(f, "var.labels")[j], types[j])
    for (k in seq_along(x)) {
      v <- x[[k]]
      if (str) {
        s <- v
      } else if (is.na(v)) {
        code <- if (is.null(miss[[n]])) NA else miss[[n]][k]
        s <- if (is.na(code)) "NA" else paste0(".", if (code == 0) "" else letters[code])
      } else {
        s <- num(as.numeric(v))
      }
      line("val", n, k, s)
    }
  }
  tables <- attr(f, "label.table")
  for (t in names(tables)) {
    labs <- tables[[t]]
    for (j in seq_along(labs)) line("label", t, if (is.na(labs[[j]])) "NA" else num(labs[[j]]), names(labs)[j])
  }
  for (e in attr(f, "expansion.fields")) line("note", e[1], e[2], e[3])
}
