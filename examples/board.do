# autorouter commands for board.pca
load design route/board.dsn
grid wire 0.5
bestsave route/board.w
write session route\board.ses
quit
