<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>Plot</name>
    <message numerus="yes">
        <source>%n report(s); the latest took %1 ms; technology: %2.</source>
        <translation>
            <numerusform>%n report; it took %1 ms; technology: %2.</numerusform>
            <numerusform>%n reports; the latest took %1 ms; technology: %2.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Session</name>
    <message numerus="yes">
        <source>%n value(s) changed</source>
        <translation>
            <numerusform>%n value changed</numerusform>
            <numerusform>%n values changed</numerusform>
        </translation>
    </message>
</context>
</TS>
