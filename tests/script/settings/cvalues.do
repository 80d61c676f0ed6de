* c() in a macro reference: numbers by %18.0g, strings as they are, unknown names empty
display "[`c(pi)'] [`c(maxdouble)'] [`c(epsdouble)'] [`c(smallestdouble)']"
display "[`c(maxfloat)'] [`c(epsfloat)'] [`c(mindouble)']"
display "[`c(maxlong)'] [`c(minlong)'] [`c(maxint)'] [`c(minint)'] [`c(maxbyte)'] [`c(minbyte)']"
display "[`c(max_macrolen)'] [`c(max_cmdlen)'] [`c(namelen)'] [`c(maxstrvarlen)'] [`c(max_matsize)'] [`c(min_matsize)']"
display "[`c(orvat_version)'] [`c(version)'] [`c(born_date)'] [`c(flavor)'] [`c(console)'] [`c(byteorder)']"
display "[`c(machine_type)'] [`c(dirsep)'] [`c(adopath)']"
display "[`c(alpha)']"
display "[`c(ALPHA)']"
display "[`c(Mons)']"
display "[`c(Months)']"
display "[`c(Wdays)']"
display "[`c(Weekdays)']"
display "[`c(memory)'] [`c(maxvar)'] [`c(matsize)'] [`c(more)'] [`c(rmsg)'] [`c(dp)'] [`c(type)'] [`c(odbcmgr)']"
display "[`c(max_k_theory)'] [`c(max_width_theory)'] [`c(changed)'] [`c(compile_number)'] [`c(tokenlen)']"
display "[`c(nosuch)'] [`c(linegap)'] [`c()']"
version 8
display "[`c(version)']"
version 10.1
capture error 459
display "[`c(rc)']"
