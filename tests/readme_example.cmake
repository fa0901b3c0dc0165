# Fails unless README.md shows the example program as it stands: cmake -DREADME=... -DEXAMPLE=... -P this
file(READ ${README} readme)
file(READ ${EXAMPLE} example)
string(FIND "${readme}" "```cpp\n${example}```" place)
if(place EQUAL -1)
    message(FATAL_ERROR "${README} does not show ${EXAMPLE} as it is")
endif()
