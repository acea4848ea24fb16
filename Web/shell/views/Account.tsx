export default function Account() {
  return null;
}
