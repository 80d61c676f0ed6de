*! help: shows the help file of a topic in the console
program help
	version 10.1
	chelp `0'
end
