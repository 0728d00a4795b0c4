-- The library as it is first made: the tables in the layout before the field upgrade, the
-- indexes of the lookups, and the required record that stands for an empty drive.
-- Declared types carry the field kinds: LONG, SHORT, TEXT, MEMO, LONGBINARY, DATETIME.
CREATE TABLE CDs (
    CDid INTEGER PRIMARY KEY AUTOINCREMENT,
    Title TEXT,
    Artist TEXT,
    cdLen LONG,
    numTracks SHORT,
    track1Len LONG
);
CREATE INDEX CDs_lengths ON CDs (cdLen, track1Len);

CREATE TABLE Tracks (
    CDid LONG,
    TrackNum SHORT,
    TrackName TEXT,
    Rating TEXT,
    Comments TEXT,
    Notation LONGBINARY,
    WAV LONGBINARY
);
CREATE INDEX Tracks_disc ON Tracks (CDid, TrackNum);

CREATE TABLE LoopPoints (
    CDid LONG,
    TrackNum SHORT,
    startTime LONG,
    Comment TEXT,
    Chords TEXT,
    Lyrics TEXT,
    Notation LONGBINARY,
    WAV LONGBINARY
);
CREATE INDEX LoopPoints_disc ON LoopPoints (CDid, startTime);

CREATE TABLE WaveLoopPoints (
    waveFileID LONG,
    TrackNum SHORT,
    startTime LONG,
    Comment TEXT,
    Chords TEXT,
    Lyrics TEXT,
    Notation LONGBINARY,
    WAV LONGBINARY
);
CREATE INDEX WaveLoopPoints_file ON WaveLoopPoints (waveFileID, startTime);

CREATE TABLE "Wave Files" (
    waveFileID INTEGER PRIMARY KEY AUTOINCREMENT,
    waveFileName TEXT,
    waveFilePath TEXT,
    waveDataLength LONG,
    waveFileModDate DATETIME
);
CREATE INDEX WaveFiles_name ON "Wave Files" (waveFileName, waveFilePath);

INSERT INTO CDs (CDid, Title, Artist, cdLen, numTracks, track1Len)
VALUES (1, 'No CD In Drive', 'Insert an audio CD', 0, 0, 0);
