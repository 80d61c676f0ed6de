* with no variables there is nothing to format or list
format
format %9.2f
format nosuch %9.2f
format %9.2f nosuch
format %9.2q nosuch
