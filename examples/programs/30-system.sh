# A supervisor and its helper, and two daemons on a message queue.
set -eu

work=$(mktemp -d)
cp /bin/sleep "$work/demo-helper"

echo "== Processes and message queues"
echo "  A supervisor and its helper:"
"$BUILD/examples/supervisor" "$work/demo-helper" 60 >"$work/supervisor"
sed 's/^/    /' "$work/supervisor"
printf '%s\n' "started   $work/demo-helper" "found     by name" "signalled 0" \
  "running   a second later" "stopped   0" "found     no more" | cmp - "$work/supervisor"

echo "  Two daemons on the queue $work/queue:"
"$BUILD/examples/queue_receiver" "$work/queue" >"$work/received" &
receiver=$!
tries=100
while [ ! -S "$work/queue" ] && [ $tries -gt 0 ]; do
  sleep 0.05
  tries=$((tries - 1))
done
"$BUILD/examples/queue_sender" "$work/queue" "link up" "lease renewed" end
wait $receiver
sed 's/^/    /' "$work/received"
printf 'received "%s"\n' "link up" "lease renewed" end | cmp - "$work/received"
echo "  A name that nobody serves:"
! "$BUILD/examples/queue_sender" "$work/nobody" lost >"$work/failure"
sed 's/^/    /' "$work/failure"
grep -q "^sendto failed.Error:2:" "$work/failure"
